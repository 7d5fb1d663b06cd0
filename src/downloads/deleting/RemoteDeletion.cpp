#include "downloads/deleting/RemoteDeletion.h"

namespace tovri {

void RemoteDeletion::deleteFile(const DownloadPointer& item) {
    scope_.start(deleteRemote(item->fileID, {item}));
}

void RemoteDeletion::checkFolderGroup(const Download& item) {
    if (!item.folderGroupID || !item.folderDeleteID) return;
    const UUID group = *item.folderGroupID;
    const FolderGroups::Verdict verdict = groups_.verdict(group);
    if (verdict == FolderGroups::Verdict::wait) return;
    groups_.settle(group);
    if (verdict == FolderGroups::Verdict::complete)
        scope_.start(deleteRemote(*item.folderDeleteID, groups_.members(group, Download::Status::completed)));
}

void RemoteDeletion::retryDelete(const DownloadPointer& item) {
    if (item->status != Download::Status::remoteDeleteFailed) return;
    if (item->folderDeleteID && item->folderGroupID) {
        auto members = groups_.members(*item->folderGroupID, Download::Status::remoteDeleteFailed);
        scope_.start(deleteRemote(*item->folderDeleteID, std::move(members)));
    } else {
        deleteFile(item);
    }
}

Task<> RemoteDeletion::deleteRemote(std::int64_t id, std::vector<DownloadPointer> items) {
    using Status = Download::Status;
    using Urgency = SaveSchedule::Urgency;
    if (!api_) {
        for (const DownloadPointer& item : items) fail(*item, "Not signed in to put.io.");
        saves_.request(Urgency::soon);
        co_return;
    }
    for (const DownloadPointer& item : items) {
        item->error.reset();
        list_.setStatus(*item, Status::deleting);
    }
    saves_.request(Urgency::soon);

    Result<void> deleted = co_await api_->deleteFiles({id}, scope_.stopToken());
    for (const DownloadPointer& item : items) {
        if (!isFinished(item->status) && item->status != Status::deleting) continue;  // is fetched anew meanwhile
        if (deleted)
            list_.setStatus(*item, Status::completed);
        else
            fail(*item, deleted.error().description);
    }
    saves_.request(Urgency::soon);
}

void RemoteDeletion::fail(Download& item, const std::string& reason) {
    item.error = reason;
    list_.setStatus(item, Download::Status::remoteDeleteFailed);
}

}  // namespace tovri
