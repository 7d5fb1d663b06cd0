// The scheduler, and the runs that it starts.
#include "downloads/DownloadManager.h"
#include "downloads/placing/Destination.h"
#include "downloads/running/ArrivalProof.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {

using Status = Download::Status;

void DownloadManager::processQueue() {
    // A start may fail at once, or an observer of it may come back here: the loop under way looks again after each.
    if (isProcessing_) return;
    isProcessing_ = true;
    constexpr int mostHolds = 256;  // in one turn of the loop
    for (int held = 0; hasFreeSlot();) {
        const DownloadPointer next = nextInQueue();
        if (!next) break;
        HoldPointer hold = accounts_.obstacle(*next);
        if (!hold) hold = destinations_.knownObstacle(*next);
        if (!hold) {
            start(next);
            continue;
        }
        list_.hold(*next, hold);
        saves_.request(SaveSchedule::Urgency::gathered);
        if (++held < mostHolds) continue;
        processingOn_ = ports_.loop.schedule(MainLoop::Duration::zero(), [this] { processQueue(); });
        break;
    }
    isProcessing_ = false;
    lookAhead();
}

// The uppermost candidate about whose file all is known, and whose last run is over: its end looks here again.
DownloadPointer DownloadManager::nextInQueue() {
    for (const DownloadPointer& item : list_.candidates(1 + recovery_.heldCount() + runs_.size()))
        if (!recovery_.isHeld(*item) && !item->run) return item;
    return nullptr;
}

bool DownloadManager::mayStart() const {
    return !around_.isQueuePaused && !around_.holdReason && !around_.isEnding && use_ != Use::editing &&
           around_.service && isSignedIn_;
}

std::size_t DownloadManager::slotCount() const {
    return static_cast<std::size_t>(around_.preferences ? around_.preferences->maxConcurrentDownloads() : 3);
}

bool DownloadManager::hasFreeSlot() const {
    return mayStart() && activeCount() < slotCount();
}

// Once all that changes now has changed.
void DownloadManager::lookAhead() {
    lookingAhead_ = ports_.loop.schedule(MainLoop::Duration::zero(), [this] { links_.prepare(nextFiles()); });
}

// Those that start next and will need a link, while the slots are busy.
std::vector<FileID> DownloadManager::nextFiles() {
    std::vector<FileID> files;
    if (!mayStart() || hasFreeSlot()) return files;
    for (const DownloadPointer& item : list_.candidates(slotCount()))
        if (!item->resumeData && !item->receivedFile && !accounts_.obstacle(*item)) files.push_back(item->fileID);
    return files;
}

void DownloadManager::start(const DownloadPointer& item) {
    if (Result<std::filesystem::path> target = destination(*item); !target) {
        item->noteFailedTry(ports_.clock.now(), target.error().description);
        settlement_.markFailed(item, target.error().description);
        return;
    }
    item->isBegunAgain = item->startedAt.has_value();
    if (!item->isBegunAgain) item->startedAt = ports_.clock.now();
    list_.take(*item, StatusStep::start);
    // An observer may want it otherwise, or may have started it anew.
    if (item->status == Status::downloading && !item->run && list_.contains(*item)) scope_.start(run(item));
}

Task<> DownloadManager::run(DownloadPointer item) {
    {
        DownloadRun run(around_, item);
        runs_.insert(&run);
        co_await run.tell();
        runs_.erase(&run);
        if (item->status != Status::queued) around_.lastGain = ports_.loop.now();
    }
    runEnded();
}

Task<> DownloadManager::runFromConflict(DownloadPointer item) {
    {
        DownloadRun run(around_, item);
        runs_.insert(&run);
        co_await run.tellFromConflict(*item->stagedURL);
        runs_.erase(&run);
    }
    runEnded();
}

void DownloadManager::runEnded() {
    if (list_.heldCount() > 0) held_.look();  // there may be more room now
    processQueue();
    finishSuspending();
}

// What it awaits, and what has arrived of it, is wanted no more.
void DownloadManager::abandonRun(Download& item) {
    if (item.run) {
        item.run->abandon();
        item.receivedFile.reset();
    }
    item.stagedURL.reset();
}

// Its bytes are left to the next transfer of the file. Those of a failed item are already, and perhaps another's; where
// the queue is only edited, the next start finds them.
void DownloadManager::dropToken(Download& item) {
    if (!item.resumeData) return;
    if (use_ != Use::editing && item.status != Status::failed) leavePartial(item, *item.resumeData);
    item.resumeData.reset();
}

void DownloadManager::leavePartial(Download& item, std::string_view token) {
    const auto point = ResumePoint::parse(token);
    if (!point) return;
    const NotedReach reach{.end = point->offset, .checksum = point->checksum};
    leftovers_.put({.folder = point->folder,
                    .note = {.partial = point->partial,
                             .file = {.fileID = item.fileID,
                                      .length = point->length,
                                      .validator = point->validator,
                                      .checksum = listedChecksum(item)},
                             .parts = {{.first = 0, .written = reach, .durable = reach}}}},
                   item);
}

// As dropToken, and what has arrived whole.
void DownloadManager::dropArrived(Download& item) {
    dropToken(item);
    if (use_ == Use::editing || !item.receivedFile) return;
    removePartial(*item.receivedFile);
    item.receivedFile.reset();
}

void DownloadManager::removePartial(std::string_view token) {
    if (const auto point = ResumePoint::parse(token)) receiving_.remove(point->folder, point->partial);
}

void DownloadManager::suspend(std::function<void()> done) {
    around_.isEnding = true;
    forgetTakenOut();
    suspended_ = std::move(done);
    const std::vector<DownloadRun*> runs(runs_.begin(), runs_.end());
    for (DownloadRun* run : runs) run->suspend();
    durability_.hurry();
    // A volume that hangs does not keep the program from ending. What it leaves of the time is for the save.
    constexpr std::chrono::milliseconds patience{1200};
    ports_.volumes.limitWaits(VolumeQueues::patienceAtEnd);
    suspendLimit_ = ports_.loop.schedule(patience, [this] {
        if (suspended_) std::exchange(suspended_, nullptr)();
    });
    finishSuspending();
}

void DownloadManager::finishSuspending() {
    if (!around_.isEnding || !suspended_ || !durability_.isDone()) return;
    if (!std::ranges::all_of(runs_, [](const DownloadRun* run) { return run->isWaitingForUser(); })) return;
    suspendLimit_.reset();
    ports_.loop.post(std::exchange(suspended_, nullptr));
}

}  // namespace tovri
