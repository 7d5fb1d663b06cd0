// How the queue outlives the process.
#include <algorithm>
#include <optional>
#include <set>

#include "downloads/DownloadManager.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {
namespace {

using Status = Download::Status;

void startOver(Download& item) {
    item.progress = 0;
    item.bytesDownloaded = 0;
}

// Puts an item that the previous run left half-done into a state from which this run can go on.
void normalize(Download& item, bool isQueuePaused, FileManager& files) {
    if (item.status == Status::awaitingConflict) {
        if (item.stagedURL && files.exists(*item.stagedURL)) return;
        item.stagedURL.reset();
        startOver(item);
    } else if (item.status == Status::downloading && !item.resumeData) {
        startOver(item);
    }
    item.status =
        target(isQueuePaused ? StatusStep::restorePaused : StatusStep::restore, item.status).value_or(item.status);
}

}  // namespace

void DownloadManager::restoreQueue() {
    if (use_ != Use::none) return;
    use_ = Use::running;
    saves_.open();
    store_->removeHalfWritten();
    store_->createStagingDirectory();
    std::vector<DownloadPointer> items = loadQueue();
    std::set<std::filesystem::path> staged;
    std::set<std::string> partials;
    std::vector<DownloadPointer> awaiting;
    for (const DownloadPointer& item : items) {
        normalize(*item, around_.isQueuePaused, platform_.files);
        if (const auto point = item->resumeData ? ResumePoint::parse(*item->resumeData) : std::nullopt)
            partials.insert(point->partial.text());
        if (item->status == Status::awaitingConflict) {
            staged.insert(std::filesystem::path(*item->stagedURL).lexically_normal());
            awaiting.push_back(item);
        }
    }
    list_.append(std::move(items));
    endInterruptedDeletions();
    adoptArrived(journal_->recover());
    saver_.noteEnded(PlacementJournal::recovered);
    store_->cleanStaging(staged);
    scope_.start(removePartialsBut(std::move(partials)));

    for (const DownloadPointer& item : awaiting)
        if (item->status == Status::awaitingConflict) scope_.start(runFromConflict(item));
    processQueue();
    scheduleSave();
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
    snapshot.downloads.reserve(list_.items().size());
    for (const DownloadPointer& item : list_.items()) snapshot.downloads.push_back(*item);
    snapshot.folderGroupExpectedCounts = groups_.expectedCounts();
    return snapshot;
}

// Closes items whose files got their names in the moment before the previous process died.
void DownloadManager::adoptArrived(std::unordered_map<UUID, std::filesystem::path> arrived) {
    std::vector<DownloadPointer> items;
    for (const DownloadPointer& item : list_.items())
        if (!isFinished(item->status) && arrived.contains(item->id)) items.push_back(item);
    for (const DownloadPointer& item : items) {
        const std::filesystem::path& path = arrived[item->id];
        const bool isDeletedLater = item->deleteAfterDownload || item->folderDeleteID;
        // A loss of power may have left the name without the bytes: then it is fetched once more.
        const std::optional<ByteCount> size = platform_.files.fileSize(path);
        const bool isAsItArrived = item->arrivedChecksum && size == item->bytesDownloaded;
        if (!size || (item->expectedSize() > 0 && size != item->expectedSize() && !isAsItArrived)) continue;
        if (isDeletedLater && !platform_.files.makeDurable(path)) continue;
        item->bytesDownloaded = *size;
        item->stagedURL.reset();
        settlement_.markCompleted(item, path);
    }
}

}  // namespace tovri
