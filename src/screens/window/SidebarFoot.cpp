#include "screens/window/SidebarFoot.h"

#include <algorithm>
#include <utility>

#include "base/ByteCountFormat.h"
#include "platform/Await.h"

namespace tovri {

SidebarFoot::SidebarFoot(const Surroundings& around)
    : around_(around),
      followingAccount_(around.account.onChange([this] { update(); })),
      followingQueue_(around.downloads.onChange([this](const QueueChange& /*change*/) { lookSoon(); })),
      followingPreferences_(around.preferences.onChange([this](std::string_view /*key*/) {
          if (isOnView_ && around_.preferences.downloadFolderURL() != folder_) lookAtDisk();
      })) {}

void SidebarFoot::appear() {
    if (!std::exchange(isOnView_, true)) look();
}

void SidebarFoot::disappear() {
    isOnView_ = false;
    looksSoon_ = false;
    nextLook_.reset();
}

// --- Asking ---

void SidebarFoot::lookSoon() {
    if (!isOnView_ || std::exchange(looksSoon_, true)) return;
    const MainLoop::Duration wait = looked_ + shortestPause - around_.loop.now();
    nextLook_ = around_.loop.schedule(std::max(wait, MainLoop::Duration::zero()), [this] { look(); });
}

void SidebarFoot::look() {
    looksSoon_ = false;
    looked_ = around_.loop.now();
    nextLook_ = around_.loop.schedule(AccountInfo::freshness + std::chrono::seconds(30), [this] { look(); });
    around_.account.refreshSoon();
    lookAtDisk();
    update();
}

// A volume that has not answered yet is not asked again; nor is what it says of another folder awaited.
void SidebarFoot::lookAtDisk() {
    std::filesystem::path folder = around_.preferences.downloadFolderURL();
    const bool isAnother = folder != folder_;
    if (looking_ && !isAnother) return;
    if (looking_) looking_->request_stop();
    if (isAnother) setRoom(std::nullopt);
    folder_ = std::move(folder);
    looking_.emplace();
    patience_ = around_.loop.schedule(patience, [this] { setRoom(std::nullopt); });
    scope_.start(lookAt(folder_, looking_->get_token()));
}

Task<> SidebarFoot::lookAt(std::filesystem::path folder, std::stop_token stop) {
    auto ask = [&files = around_.files, folder] { return files.volume(folder); };
    Result<Volume> volume =
        co_await onVolume<Volume>(around_.loop, around_.volumes, "room of " + folder.native(), stop, std::move(ask));
    if (stop.stop_requested()) co_return;
    looking_.reset();
    patience_.reset();
    setRoom(volume ? volume->available : std::nullopt);
}

// --- What is seen ---

void SidebarFoot::setRoom(std::optional<ByteCount> room) {
    room_ = room;
    update();
}

void SidebarFoot::update() {
    std::vector<Line> lines = makeLines();
    if (lines == lines_) return;
    lines_ = std::move(lines);
    changes_.tell();
}

std::vector<SidebarFoot::Line> SidebarFoot::makeLines() const {
    std::vector<Line> lines;
    const std::optional<PutIOAccount>& account = around_.account.known();
    if (const auto name = around_.account.name()) lines.push_back({"person.circle", *name, *name});
    if (const auto left = account ? freeSpace(*account) : std::nullopt)
        lines.push_back({"cloud", formatByteCount(*left) + " free on put.io", accountText(*account)});
    if (room_)
        lines.push_back({"internaldrive", formatByteCount(*room_) + " free on disk",
                         formatByteCount(*room_) + " free for " + folder_.native()});
    return lines;
}

}  // namespace tovri
