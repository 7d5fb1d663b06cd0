// What the user takes out of the queue, and takes back.
#include "downloads/DownloadManager.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {
namespace {

using Status = Download::Status;
using Items = std::vector<ConstDownloadPointer>;

// For how long a cancellation or a removal can be taken back.
constexpr std::chrono::seconds undoTime{10};

}  // namespace

// --- Out ---

void DownloadManager::cancel(const ConstDownloadPointer& shown) {
    cancel(Items{shown});
}

void DownloadManager::cancel(const Items& shown) {
    const std::vector<DownloadPointer> items = changeable(shown);
    if (items.empty()) return;
    beginTakingOut(TakenOut::How::cancelled);
    for (const DownloadPointer& item : items) abandon(item);
    tellTakenOut();
    processQueue();
}

void DownloadManager::cancelAll() {
    const std::vector<DownloadPointer> items =
        list_.withStatus({Status::downloading, Status::queued, Status::paused, Status::awaitingConflict});
    if (!items.empty()) beginTakingOut(TakenOut::How::cancelled);
    for (const DownloadPointer& item : items) abandon(item);
    if (!items.empty()) tellTakenOut();
    scheduleSave();
}

void DownloadManager::remove(const ConstDownloadPointer& shown) {
    remove(Items{shown});
}

void DownloadManager::remove(const Items& shown) {
    const std::vector<DownloadPointer> items = changeable(shown);
    if (items.empty()) return;
    beginTakingOut(TakenOut::How::removed);
    for (const DownloadPointer& item : items) takeAway(item);
    tellTakenOut();
    processQueue();
    scheduleSave();
}

std::vector<DownloadPointer> DownloadManager::changeable(const Items& shown) {
    std::vector<DownloadPointer> items;
    for (const ConstDownloadPointer& each : shown)
        if (DownloadPointer item = list_.changeable(*each)) items.push_back(std::move(item));
    return items;
}

// Cancels the item and whatever goes on for it.
void DownloadManager::abandon(const DownloadPointer& item) {
    setAside(item);
    abandonRun(*item);
    dropToken(*item);
    settlement_.markCancelled(item);
    conflicts_.dismissConflict(*item);
    dropArrived(*item);
    item->stagedURL.reset();
}

void DownloadManager::takeAway(const DownloadPointer& item) {
    setAside(item);
    abandonRun(*item);
    if (!isFinished(item->status)) settlement_.notifySyncSettled(*item);
    if (!list_.remove(*item)) return;  // whoever was told removed it
    conflicts_.dismissConflict(*item);
    dropArrived(*item);
    leftovers_.dropUnwanted(item->fileID);
}

// --- For a while ---

void DownloadManager::beginTakingOut(TakenOut::How how) {
    forgetTakenOut();
    takenOut_.how = how;
    if (use_ == Use::running) takenOut_.end = ports_.loop.schedule(undoTime, [this] { forgetTakenOut(); });
}

void DownloadManager::tellTakenOut() const {
    if (canTakeBack()) list_.tell(QueueChange::Kind::takenOut);
}

// Keeps what the item has from being dropped with it. The bytes of a transfer that runs are left when that has ended.
void DownloadManager::setAside(const DownloadPointer& item) {
    if (use_ != Use::running) return;
    TakenOut::Bytes bytes;
    bytes.resumeData = std::exchange(item->resumeData, std::nullopt);
    if (!item->run) bytes.receivedFile = std::exchange(item->receivedFile, nullptr);
    const bool isStaged = item->status == Status::awaitingConflict && item->stagedURL;
    if (isStaged && (!item->run || item->run->isWaitingForUser())) {
        if (item->run) item->run->leaveStaged();
        bytes.stagedURL = std::exchange(item->stagedURL, std::nullopt);
    }
    if (item->run || item->onDisk > 0) leftovers_.spare(item->fileID);
    const bool hasBytes = bytes.resumeData || bytes.receivedFile || bytes.stagedURL;
    takenOut_.items.push_back(
        {item, item->status, hasBytes ? std::make_unique<TakenOut::Bytes>(std::move(bytes)) : nullptr});
}

void DownloadManager::forgetTakenOut() {
    const TakenOut forgotten = std::exchange(takenOut_, {});
    if (forgotten.items.empty()) return;
    leftovers_.spareNone();
    for (const TakenOut::Item& each : forgotten.items) drop(each);
    if (list_.heldCount() > 0) held_.look();  // there may be more room now
    list_.tell(QueueChange::Kind::takenOut);
}

void DownloadManager::drop(const TakenOut::Item& each) {
    if (each.bytes) {
        if (each.bytes->resumeData && each.status != Status::failed) leavePartial(*each.item, *each.bytes->resumeData);
        if (each.bytes->receivedFile) removePartial(*each.bytes->receivedFile);
        if (each.bytes->stagedURL)
            lanes_.run(store_->stagingDirectory(),
                       [&files = ports_.files, staged = *each.bytes->stagedURL] { (void)files.removeFile(staged); });
    }
    leftovers_.dropUnwanted(each.item->fileID);
}

// --- Back ---

void DownloadManager::takeBack() {
    TakenOut taken = std::exchange(takenOut_, {});
    std::vector<TakenOut::Item> back;
    std::vector<TakenOut::Item> gone;
    for (TakenOut::Item& each : taken.items) (isToComeBack(each, taken.how) ? back : gone).push_back(std::move(each));
    for (const TakenOut::Item& each : back) giveBack(each);
    leftovers_.spareNone();
    for (const TakenOut::Item& each : gone) drop(each);
    list_.tell(QueueChange::Kind::takenOut);
    for (const TakenOut::Item& each : back) {
        const bool goesOn = each.status == Status::downloading && each.item->status == Status::queued;
        const bool isFree = !each.item->hold && !accounts_.obstacle(*each.item);
        if (goesOn && isFree && hasFreeSlot()) start(each.item);
    }
    processQueue();
    scheduleSave();
}

// Not what has got another future since.
bool DownloadManager::isToComeBack(const TakenOut::Item& each, TakenOut::How how) const {
    if (how == TakenOut::How::removed) return !list_.contains(*each.item);
    return list_.contains(*each.item) && each.item->status == Status::cancelled && each.status != Status::cancelled;
}

void DownloadManager::giveBack(const TakenOut::Item& each) {
    const DownloadPointer& item = each.item;
    if (each.bytes) {
        item->resumeData = each.bytes->resumeData;
        item->receivedFile = each.bytes->receivedFile;
        item->stagedURL = each.bytes->stagedURL;
    }
    if (!isFinished(each.status)) item->completedAt.reset();
    if (const auto step = stepBack(each)) list_.take(*item, *step);
    if (!list_.contains(*item)) list_.putBack(item);
    if (item->receivedFile) kept_.note(item);
    if (!isFinished(each.status)) settlement_.notifySyncReturned(*item);
    holdForRule(*item);
    if (item->status == Status::awaitingConflict) goOn(item);
}

// What leads to the status that it had, or to the nearest that it can have; none where it has that.
std::optional<StatusStep> DownloadManager::stepBack(const TakenOut::Item& each) const {
    const Status status = each.item->status;
    const bool hasRun =
        each.status == Status::downloading || (each.status == Status::awaitingConflict && !each.item->stagedURL);
    if (hasRun) return around_.isQueuePaused ? StatusStep::takeBackPaused : StatusStep::takeBack;
    if (status == each.status) return std::nullopt;
    if (each.status == Status::paused) return StatusStep::takeBackPaused;
    if (each.status == Status::awaitingConflict) return StatusStep::takeBackAsking;
    return StatusStep::takeBack;
}

}  // namespace tovri
