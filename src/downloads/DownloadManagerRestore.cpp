// How the queue outlives the process.
#include <optional>
#include <set>

#include "downloads/DownloadManager.h"
#include "downloads/restoring/StagedPath.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {
namespace {

using Status = Download::Status;

void startOver(Download& item) {
    item.progress = 0;
    item.bytesDownloaded = 0;
}

// Puts an item that the previous run left half-done into a state from which this run can go on.
void normalize(Download& item, bool isQueuePaused, FileManager& files, const std::filesystem::path& staging) {
    item.hold.reset();
    // What the queue file says is no proof that a file is ours to move or to remove.
    if (item.stagedURL && !(isStagedPath(*item.stagedURL, staging) && files.fileSize(*item.stagedURL)))
        item.stagedURL.reset();
    if (item.status == Status::awaitingConflict) {
        if (item.stagedURL) return;
        startOver(item);
    } else if (item.status == Status::downloading && !item.resumeData && !item.receivedFile) {
        startOver(item);
    }
    item.status =
        target(isQueuePaused ? StatusStep::restorePaused : StatusStep::restore, item.status).value_or(item.status);
    const bool mayBePlaced =
        item.status == Status::queued || item.status == Status::paused || item.status == Status::failed;
    if (!mayBePlaced) item.receivedFile.reset();
}

}  // namespace

void DownloadManager::restoreQueue() {
    if (use_ != Use::none) return;
    use_ = Use::running;
    saves_.open();
    store_->removeHalfWritten();
    destinations_.load();
    store_->createStagingDirectory();
    receiving_.load();
    std::vector<DownloadPointer> items = loadQueue();
    for (const DownloadPointer& item : items)
        normalize(*item, around_.isQueuePaused, ports_.files, store_->stagingDirectory());
    list_.append(items);
    endInterruptedDeletions();
    cleanUp(items, journal_->recover());
    lookForLost();

    for (const DownloadPointer& item : items)
        if (!item->account && !isFinished(item->status)) item->account = accounts_.account();
    for (const DownloadPointer& item : items) holdForRule(*item);
    for (const DownloadPointer& item : items)
        if (item->status == Status::awaitingConflict && !recovery_.isHeld(*item)) goOn(item);
    processQueue();
    scheduleSave();
}

// Removes what the previous process had received and nobody will ask for again. What it was placing is looked for
// first.
void DownloadManager::cleanUp(const std::vector<DownloadPointer>& items, std::vector<PlacementEntry> placements) {
    std::set<std::filesystem::path> kept;
    std::set<UUID> goneOnFrom;
    const auto keep = [&](std::string_view token) {
        const auto point = ResumePoint::parse(token);
        if (!point) return UUID();
        const auto own = ports_.folders.applicationData / "Partial";
        kept.insert(point->folder.value_or(own) / point->partial.text());
        return point->partial;
    };
    for (const DownloadPointer& item : items) {
        if (item->status == Status::awaitingConflict)
            kept.insert(std::filesystem::path(*item->stagedURL).lexically_normal());
        if (item->resumeData) {
            const UUID partial = keep(*item->resumeData);
            if (item->status != Status::failed) goneOnFrom.insert(partial);
        }
        if (item->receivedFile) {
            goneOnFrom.insert(keep(*item->receivedFile));
            kept_.note(item);
        }
    }
    leaveFailed(items, goneOnFrom);
    std::set<std::filesystem::path> staged = kept;
    Leftovers::Names partials;
    for (const PlacementEntry& placement : placements) staged.insert({placement.staged, witnessPath(placement.staged)});
    for (const std::filesystem::path& path : staged) partials.insert(path.filename());
    recovery_.lookForArrived(std::move(placements), kept, machineStart());
    store_->cleanStaging(staged);
    leftovers_.look(std::move(partials), around_.bootID);
}

// Nothing goes on from a failed item's token, so that its bytes are anybody's, unless another one has them.
void DownloadManager::leaveFailed(const std::vector<DownloadPointer>& items, const std::set<UUID>& goneOnFrom) {
    for (const DownloadPointer& item : items) {
        if (item->status != Status::failed || !item->resumeData) continue;
        const auto point = ResumePoint::parse(*item->resumeData);
        if (point && !goneOnFrom.contains(point->partial)) leavePartial(*item, *item->resumeData);
    }
}

// What was not durable when the machine stopped may be gone. A queue file of an earlier version does not say which that
// was; what it has completed is taken as it is.
void DownloadManager::lookForLost() {
    // What the disk had refused to keep shows when it is read now, as it is before anything is deleted.
    if (machineStart() == MachineStart::another)
        for (const DownloadPointer& item : list_.withStatus(Status::remoteDeleteFailed)) item->durable.reset();
    std::vector<DownloadPointer> doubtful;
    for (const DownloadPointer& item : list_.withStatus(Status::completed)) {
        if (item->durable == true || !item->resolvedURL) continue;
        if (!bootID_) {
            item->durable = true;
        } else if (machineStart() == MachineStart::another) {
            doubtful.push_back(item);
        } else if (!item->durable) {
            durability_.add(item);
        }
    }
    if (doubtful.empty() && !recovery_.isLooking())
        looksEnded();
    else
        recovery_.lookForLost(doubtful);
}

MachineStart DownloadManager::machineStart() const {
    const std::string now = ports_.clock.bootID();
    return bootID_ && !now.empty() && *bootID_ == now ? MachineStart::same : MachineStart::another;
}

// Goes on with an item of the previous process.
void DownloadManager::goOn(const DownloadPointer& item) {
    if (item->status == Status::awaitingConflict && item->stagedURL && !item->run) {
        scope_.start(runFromConflict(item));
        return;
    }
    if (item->status == Status::queued) processQueue();
    if (item->status == Status::completed) dropArrived(*item);
}

void DownloadManager::fetchAgain(const DownloadPointer& item) {
    ports_.log.line("[DownloadManager] " + *item->resolvedURL +
                    " did not survive the stop of the machine; fetching it again");
    item->noteFailedTry(ports_.clock.now(), "It had arrived, but did not survive the stop of the machine.");
    item->forgetArrival();
    list_.take(*item, StatusStep::fetchAgain);
    if (around_.isQueuePaused) list_.take(*item, StatusStep::pauseWaiting);
    processQueue();
    scheduleSave();
}

// From now on the queue says what this start of the machine has lost: nothing.
void DownloadManager::looksEnded() {
    bootID_ = ports_.clock.bootID();
    looked_.tell();
    scheduleSave();
}

Task<Result<void>> DownloadManager::secure(std::stop_token stop) {
    if (recovery_.isLooking()) {
        using Ended = std::monostate;
        Result<Ended> ended = co_await Answer<Ended>(ports_.loop, stop, [this](auto done) {
            auto tell = std::make_shared<decltype(done)>(std::move(done));
            return looked_.subscribe([tell] { (*tell)(Ended()); });
        });
        if (!ended) co_return failure(ended);
    }
    Result<void> secured = co_await durability_.secureAll(stop);
    if (!secured) co_return secured;
    for (const ConstDownloadPointer& item : list_.items())
        if (item->durable == false && item->resolvedURL)  // since an earlier process
            co_return failure(Error(ErrorCase::file, "The disk has refused to keep \"" + *item->resolvedURL + "\"."));
    co_return Result<void>();
}

std::set<std::filesystem::path> DownloadManager::unsecuredFolders() const {
    std::set<std::filesystem::path> folders(recovery_.foldersLookedAt().begin(), recovery_.foldersLookedAt().end());
    folders.insert(durability_.unfinishedFolders().begin(), durability_.unfinishedFolders().end());
    return folders;
}

void DownloadManager::openForEditing() {
    if (use_ != Use::none) return;
    use_ = Use::editing;
    list_.append(loadQueue());
}

// The items of the saved queue, as they were saved.
std::vector<DownloadPointer> DownloadManager::loadQueue() {
    QueueSnapshot snapshot = store_->load();
    saves_.setFileSize(store_->loadedSize());
    bootID_ = std::move(snapshot.bootID);
    setPaused(snapshot.isPaused);
    groups_.restore(snapshot.folderGroupExpectedCounts);
    std::vector<DownloadPointer> items;
    items.reserve(snapshot.downloads.size());
    for (DownloadRecord& record : snapshot.downloads) items.push_back(std::make_shared<Download>(std::move(record)));
    return items;
}

// Told like any other failure: nobody learned of it when the previous process ended.
void DownloadManager::endInterruptedDeletions() {
    for (const DownloadPointer& item : list_.withStatus(Status::deleting)) {
        item->error = "Interrupted before put.io confirmed the deletion.";
        list_.take(*item, StatusStep::restoreDeletion);
    }
}

QueueSnapshot DownloadManager::makeSnapshot() const {
    QueueSnapshot snapshot;
    snapshot.isPaused = around_.isQueuePaused;
    snapshot.bootID = bootID_;
    snapshot.downloads.reserve(list_.items().size());
    for (const ConstDownloadPointer& item : list_.items()) snapshot.downloads.push_back(*item);
    snapshot.folderGroupExpectedCounts = groups_.expectedCounts();
    return snapshot;
}

}  // namespace tovri
