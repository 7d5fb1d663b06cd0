#include "screens/window/TrayMenu.h"

#include "base/ByteCountFormat.h"
#include "screens/downloads/SpeedSwitch.h"

namespace tovri {

using Status = DownloadStatus;

std::vector<MenuItem<TrayAction>> trayMenu(const DownloadManager& downloads, const SpeedControl& speed) {
    const SpeedSwitch limit = speedSwitch(speed);
    const DownloadList& list = downloads.downloads();
    return {{TrayAction::show, "Show Tovri"},
            MenuItem<TrayAction>::separator(),
            {.action = TrayAction::pauseAll,
             .title = "Pause All",
             .symbol = "pause.fill",
             .isEnabled = list.count({Status::queued, Status::downloading, Status::awaitingConflict}) > 0},
            {.action = TrayAction::resumeAll,
             .title = "Resume All",
             .symbol = "play.fill",
             .isEnabled = list.count(Status::paused) > 0},
            {.action = TrayAction::limitSpeed, .title = limit.title, .isChecked = limit.isOn},
            MenuItem<TrayAction>::separator(),
            {TrayAction::quit, "Quit"}};
}

std::string trayText(const DownloadManager& downloads) {
    const std::size_t active =
        downloads.downloads().count({Status::downloading, Status::awaitingConflict, Status::deleting});
    if (active == 0) return "Tovri";
    std::string text = "Tovri \xE2\x80\x93 " + std::to_string(active) + (active == 1 ? " download" : " downloads");
    const BytesPerSecond speed = downloads.totalSpeed();
    if (speed < BytesPerSecond(1)) return text;
    return text + ", " + std::to_string(static_cast<int>(downloads.overallProgress() * 100)) + "%, " +
           formatRate(speed);
}

}  // namespace tovri
