// The scheduler, and what becomes of a running transfer.
#include <algorithm>

#include "downloads/DownloadManager.h"
#include "downloads/placing/Destination.h"

namespace tovri {

using Status = Download::Status;

TransferSession& DownloadManager::session() {
    if (!session_) session_ = makeSession_(events_);
    return *session_;
}

DownloadPointer DownloadManager::itemOf(TransferID transfer) const {
    const auto entry = taskToDownload_.find(transfer);
    return entry == taskToDownload_.end() ? nullptr : entry->second;
}

void DownloadManager::processQueue() {
    // A start may fail at once, or an observer of it may come back here: the loop under way looks again after each.
    if (isProcessing_) return;
    isProcessing_ = true;
    while (hasFreeSlot()) {
        const auto next = list_.withStatus(Status::queued, 1);
        if (next.empty()) break;
        start(next.front());
    }
    isProcessing_ = false;
}

bool DownloadManager::hasFreeSlot() const {
    if (isPaused_ || isSuspending_ || use_ == Use::editing || !api_) return false;
    const std::int64_t limit = preferences_ ? preferences_->maxConcurrentDownloads() : 3;
    return static_cast<std::int64_t>(activeCount()) < limit;
}

void DownloadManager::start(const DownloadPointer& item) {
    if (Result<std::filesystem::path> target = destination(*item); !target) {
        settlement_.markFailed(item, target.error().description);
        return;
    }
    const std::uint32_t attempt = ++item->attempt;
    if (!item->startedAt) item->startedAt = platform_.clock.now();
    speedTrackers_[item->id] = {.lastBytes = 0, .lastTime = platform_.loop.now()};
    list_.setStatus(*item, Status::downloading);
    if (!isWaitingForTransfer(*item, attempt)) return;
    if (item->resumeData)
        startFromToken(item);
    else
        scope_.start(lookUpAndStart(item));
}

// Whether the start still stands: the item may have been cancelled, removed or started anew meanwhile.
bool DownloadManager::isWaitingForTransfer(const Download& item, std::uint32_t attempt) const {
    return item.attempt == attempt && item.status == Status::downloading && list_.contains(item);
}

void DownloadManager::startFromToken(const DownloadPointer& item) {
    const TransferID transfer = session().resumeTransfer(*item->resumeData);
    item->resumeData.reset();
    resumedTaskIDs_.insert(transfer);
    startTransfer(item, transfer);
    scheduleSave();
}

Task<> DownloadManager::lookUpAndStart(DownloadPointer item) {
    const std::uint32_t attempt = item->attempt;
    Result<std::string> link = co_await api_->getDownloadURL(item->fileID, scope_.stopToken());
    if (!isWaitingForTransfer(*item, attempt)) co_return;
    if (!link) {
        speedTrackers_.erase(item->id);
        item->error = link.error().description;
        list_.setStatus(*item, Status::failed);
        processQueue();
    } else if (isPaused_) {
        speedTrackers_.erase(item->id);
        list_.setStatus(*item, Status::paused);
        scheduleSave();
    } else if (!isSuspending_) {
        startTransfer(item, session().makeTransfer(std::move(*link)));
    }
}

void DownloadManager::startTransfer(const DownloadPointer& item, TransferID transfer) {
    item->downloadTask = transfer;
    taskToDownload_[transfer] = item;
    session().start(transfer);
}

// Cancels the item's transfer, if it has one. What the session still reports of it finds no item.
void DownloadManager::endTransfer(const DownloadPointer& item) {
    speedTrackers_.erase(item->id);
    if (!item->downloadTask) return;
    const TransferID transfer = *item->downloadTask;
    item->downloadTask.reset();
    taskToDownload_.erase(transfer);
    resumedTaskIDs_.erase(transfer);
    pausing_.erase(transfer);
    session().cancel(transfer);
}

// Of a queue that is only edited, the next process that restores it discards what no token leads to.
void DownloadManager::dropToken(Download& item) {
    if (item.resumeData && use_ != Use::editing) session().discard(*item.resumeData);
    item.resumeData.reset();
}

void DownloadManager::handleProgress(TransferID transfer, ByteCount written, ByteCount expected) {
    const DownloadPointer item = itemOf(transfer);
    if (!item) return;
    const double progress =
        expected > 0 ? static_cast<double>(written) / static_cast<double>(expected) : item->progress;
    const ByteCount speed = item->speed;
    measureSpeed(*item, written);
    const bool hasChanged = item->bytesDownloaded != written || item->progress != progress || item->speed != speed;
    item->bytesDownloaded = written;
    item->progress = progress;
    if (hasChanged) list_.tellProgress(*item);
    saves_.request(SaveSchedule::Urgency::eventually);
}

void DownloadManager::measureSpeed(Download& item, ByteCount written) {
    const auto tracker = speedTrackers_.find(item.id);
    if (tracker == speedTrackers_.end()) return;
    const MainLoop::TimePoint now = platform_.loop.now();
    const std::chrono::duration<double> elapsed = now - tracker->second.lastTime;
    if (elapsed.count() < 0.5) return;
    const auto rate =
        static_cast<ByteCount>(static_cast<double>(written - tracker->second.lastBytes) / elapsed.count());
    tracker->second = {.lastBytes = written, .lastTime = now};
    if (rate > 0) item.speed = rate;
}

void DownloadManager::handleFinished(TransferID transfer, const std::filesystem::path& staged) {
    const DownloadPointer item = itemOf(transfer);
    if (!item) return;
    taskToDownload_.erase(transfer);
    resumedTaskIDs_.erase(transfer);
    speedTrackers_.erase(item->id);
    item->downloadTask.reset();
    placement_.placeFile(item, staged);
}

void DownloadManager::handleTaskError(TransferID transfer, const Error& error) {
    const DownloadPointer item = itemOf(transfer);
    if (!item || error.isCancellation()) return;
    const bool wasResumed = resumedTaskIDs_.erase(transfer) > 0;
    taskToDownload_.erase(transfer);
    speedTrackers_.erase(item->id);
    item->downloadTask.reset();
    if (wasResumed) {
        platform_.log.line("[DownloadManager] Resume failed for " + item->fileName +
                           ", restarting: " + error.description);
        if (!error.resumeToken.empty()) session().discard(error.resumeToken);
        item->resumeData.reset();
        item->progress = 0;
        item->bytesDownloaded = 0;
        item->speed = 0;
        list_.setStatus(*item, Status::queued);
    } else {
        if (!error.resumeToken.empty()) item->resumeData = error.resumeToken;
        settlement_.markFailed(item, error.description);
    }
    scheduleSave();
    processQueue();
}

// The item's transfer has ended and can go on later.
void DownloadManager::keepToken(Download& item, std::optional<ByteBlob> token) {
    taskToDownload_.erase(*item.downloadTask);
    resumedTaskIDs_.erase(*item.downloadTask);
    speedTrackers_.erase(item.id);
    item.downloadTask.reset();
    item.resumeData = std::move(token);
    item.speed = 0;
}

void DownloadManager::handlePaused(const DownloadPointer& item, std::optional<ByteBlob> token, TransferID transfer) {
    const auto pausing = pausing_.extract(transfer);
    if (item->downloadTask == transfer) {
        keepToken(*item, std::move(token));
        list_.setStatus(*item, pausing && pausing.mapped() ? Status::paused : Status::queued);
        scheduleSave();
        processQueue();
    } else if (token) {  // settled meanwhile
        session().discard(*token);
    }
    finishSuspending();
}

void DownloadManager::suspend(std::function<void()> done) {
    isSuspending_ = true;
    suspended_ = std::move(done);
    for (const DownloadPointer& item : list_.withStatus(Status::downloading)) {
        if (!item->downloadTask) continue;
        const TransferID transfer = *item->downloadTask;
        if (!pausing_.emplace(transfer, false).second) continue;
        session().cancelProducingToken(transfer, events_.tokenReceiver([this, item, transfer](auto token) {
            handleSuspended(item, std::move(token), transfer);
        }));
    }
    finishSuspending();
}

void DownloadManager::handleSuspended(const DownloadPointer& item, std::optional<ByteBlob> token, TransferID transfer) {
    pausing_.erase(transfer);
    if (item->downloadTask == transfer) {
        keepToken(*item, std::move(token));
    }
    finishSuspending();
}

void DownloadManager::finishSuspending() {
    if (!isSuspending_ || !suspended_ || !taskToDownload_.empty() || !placement_.isIdle()) return;
    platform_.loop.post(std::exchange(suspended_, nullptr));
}

}  // namespace tovri
