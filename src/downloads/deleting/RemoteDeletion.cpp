#include "downloads/deleting/RemoteDeletion.h"

#include <algorithm>

#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

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
    if (!service_) {
        for (const DownloadPointer& item : items) miss(*item, "Not signed in to put.io.");
        saves_.request(Urgency::gathered);
        co_return;
    }
    const bool isRetry = items.front()->status == Status::remoteDeleteFailed;
    for (const DownloadPointer& item : items) {
        item->error.reset();
        list_.take(*item, StatusStep::deleteRemote);
    }
    saves_.request(Urgency::gathered);
    if (isRetry) co_await learnAgain(items);

    for (const DownloadPointer& item : items) {
        Result<void> proven = co_await proof_.prove(item);
        if (!proven) {
            end(items, std::move(proven));
            co_return;
        }
    }
    const bool areAllHere =
        std::ranges::all_of(items, [](const DownloadPointer& item) { return item->status == Status::deleting; });
    if (!areAllHere) {  // one is fetched anew, or was cancelled
        end(items,
            failure(Error(ErrorCase::file, "Not all files are here any more. Nothing was deleted from put.io.")));
        co_return;
    }
    Result<void> deleted = co_await service_->deleteFile(id, scope_.stopToken());
    end(items, std::move(deleted));
}

// What differed from put.io's record may be what put.io has now.
Task<> RemoteDeletion::learnAgain(std::vector<DownloadPointer> items) {
    for (const DownloadPointer& item : items) {
        if (!arrivalDifference(*item)) continue;
        Result<PutIOFile> record = co_await service_->file(item->fileID, scope_.stopToken());
        if (record) learn(*item, *record);
    }
}

// Leaves those alone that have another future meanwhile.
void RemoteDeletion::end(const std::vector<DownloadPointer>& items, Result<void> outcome) {
    for (const DownloadPointer& item : items) {
        if (item->status != Status::deleting) continue;
        if (outcome)
            list_.take(*item, StatusStep::confirmDeletion);
        else
            miss(*item, arrivalDifference(*item).value_or(outcome.error().description));
    }
    saves_.request(Urgency::gathered);
}

void RemoteDeletion::miss(Download& item, const std::string& reason) {
    item.error = reason;
    list_.take(item, StatusStep::missDeletion);
}

}  // namespace tovri
