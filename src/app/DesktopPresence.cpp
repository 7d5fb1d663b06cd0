#include "app/DesktopPresence.h"

#include <utility>

namespace tovri {
namespace {

using Status = Download::Status;

std::string filesText(std::size_t count) {
    return count == 1 ? "1 file" : std::to_string(count) + " files";
}

}  // namespace

DesktopPresence::DesktopPresence(Ports ports, DownloadManager& downloads, FileBrowserState& uploads,
                                 DesktopPreferences& preferences)
    : ports_(std::move(ports)),
      list_(downloads.downloads()),
      uploads_(uploads),
      preferences_(preferences),
      followingQueue_(downloads.onChange([this](const QueueChange& change) { follow(change); })),
      followingUploads_(uploads.onChange([this](FileBrowserState::Field field) {
          if (field == FileBrowserState::Field::isUploading) lookSoon();
      })),
      followingPreferences_(preferences.onChange([this] { look(); })) {
    look();
}

void DesktopPresence::follow(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::progress) return;
    if (change.kind == QueueChange::Kind::status) {
        const Download& item = *change.item;
        if (item.status == Status::completed && change.previous != Status::deleting) ++arrived_;
        if (item.isDoubtful()) ++doubtful_;
        if (item.status == Status::failed || item.status == Status::remoteDeleteFailed) {
            ++failed_;
            if (failure_.empty()) failure_ = "“" + item.fileName + "”: " + item.error.value_or("Download failed");
        }
    }
    lookSoon();
}

// In a turn of its own: one item's end is often another's beginning.
void DesktopPresence::lookSoon() {
    if (looking_.isActive()) return;
    looking_ = ports_.loop.schedule(MainLoop::Duration::zero(), [this] {
        looking_.reset();
        look();
    });
}

void DesktopPresence::look() {
    const bool isMoving = list_.count(Status::downloading) > 0 || uploads_.isUploading();
    const bool isWanted = isMoving && preferences_.keepsAwake();
    if (isWanted && !awake_.isActive()) awake_ = ports_.inhibitor.keepAwake("Transferring files");
    if (!isWanted) awake_.reset();

    const std::size_t toDo =
        list_.count({Status::queued, Status::downloading, Status::awaitingConflict, Status::deleting});
    if (toDo > 0) {
        hasWork_ = true;
        tellFailure();
    } else if (std::exchange(hasWork_, false)) {
        tellEnd();
    }
}

void DesktopPresence::tellFailure() {
    const std::string failure = std::exchange(failure_, {});
    if (failure.empty() || hasToldFailure_ || ports_.isWindowInFront()) return;
    hasToldFailure_ = true;
    notify("A download has failed", failure);
}

void DesktopPresence::tellEnd() {
    const std::size_t arrived = std::exchange(arrived_, 0);
    const std::size_t failed = std::exchange(failed_, 0);
    const std::size_t doubtful = std::exchange(doubtful_, 0);
    hasToldFailure_ = false;
    failure_.clear();
    if (arrived + failed == 0) return;  // cancelled, skipped or paused: the user's own doing
    std::string text = filesText(arrived) + (arrived == 1 ? " has arrived" : " have arrived");
    if (doubtful > 0) text += ", " + std::to_string(doubtful) + " of them not as put.io has it";
    if (failed > 0) text += ", " + filesText(failed) + " failed";
    notify("Downloads are done", text + ".");
}

void DesktopPresence::notify(const std::string& title, const std::string& text) {
    if (preferences_.notifies() && !ports_.isWindowInFront()) ports_.notifications.show(title, text);
}

}  // namespace tovri
