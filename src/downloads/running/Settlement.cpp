#include "downloads/running/Settlement.h"

#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Status = Download::Status;
using Urgency = SaveSchedule::Urgency;

void Settlement::markCompleted(const DownloadPointer& item, const std::filesystem::path& url) {
    item->resolvedURL = url.native();
    item->completedAt = clock_.now();
    item->progress = 1.0;
    item->speed = {};
    item->ruleRetry.reset();
    item->error = arrivalDifference(*item);
    list_.take(*item, StatusStep::complete);
    if (item->status != Status::completed) return;  // an observer wants it otherwise
    conflicts_.dismissConflict(*item);
    leftovers_.dropUnwanted(item->fileID);
    notifySyncSettled(*item);
    if (item->deleteAfterDownload)
        deletion_.deleteFile(item);
    else
        deletion_.checkFolderGroup(*item);
    saves_.request(Urgency::gathered);
}

void Settlement::markSkipped(const DownloadPointer& item) {
    item->completedAt = clock_.now();
    item->speed = {};
    item->error.reset();
    list_.take(*item, StatusStep::skip);
    leftovers_.dropUnwanted(item->fileID);
    notifySyncSettled(*item);
    deletion_.checkFolderGroup(*item);
    saves_.request(Urgency::gathered);
}

void Settlement::markFailed(const DownloadPointer& item, const std::string& message) {
    item->error = message;
    item->completedAt = clock_.now();
    item->speed = {};
    list_.take(*item, StatusStep::fail);
    deletion_.checkFolderGroup(*item);
    saves_.request(Urgency::gathered);
}

void Settlement::markCancelled(const DownloadPointer& item) {
    item->completedAt = clock_.now();
    item->speed = {};
    list_.take(*item, StatusStep::cancel);
    leftovers_.dropUnwanted(item->fileID);
    notifySyncSettled(*item);
    saves_.request(Urgency::soon);
}

void Settlement::notifySyncSettled(const Download& item) const {
    if (item.syncRuleID && onSyncFileSettled_) onSyncFileSettled_(*item.syncRuleID, item.fileID);
}

void Settlement::notifySyncReturned(const Download& item) const {
    if (item.syncRuleID && onSyncFileReturned_) onSyncFileReturned_(*item.syncRuleID, item.fileID);
}

}  // namespace tovri
