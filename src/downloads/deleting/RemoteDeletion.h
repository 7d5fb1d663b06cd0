#pragma once

#include <cstdint>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadService.h"
#include "downloads/deleting/DeletionProof.h"
#include "downloads/deleting/FolderGroups.h"
#include "downloads/list/DownloadList.h"
#include "downloads/saving/SaveSchedule.h"

namespace tovri {

// Deletes files from put.io once they are safely on the disk: one file by itself, or a whole folder with one request
// after its last file. Nothing is deleted before every file that goes was proven to be here.
class RemoteDeletion {
public:
    // The references outlive this.
    RemoteDeletion(DownloadList& list, FolderGroups& groups, SaveSchedule& saves, DeletionProof proof)
        : list_(list), groups_(groups), saves_(saves), proof_(std::move(proof)) {}

    void configure(DownloadService& service) { service_ = &service; }

    // Deletes the item's own file.
    void deleteFile(const DownloadPointer& item);

    // Evaluates the item's group: deletes the folder when every file has arrived, gives up when one never will.
    void checkFolderGroup(const Download& item);

    // Asks again, for a folder together with all of its items whose deletion failed. Ignores any other item.
    void retryDelete(const DownloadPointer& item);

private:
    using Status = Download::Status;

    Task<> deleteRemote(std::int64_t id, std::vector<DownloadPointer> items);
    Task<> learnAgain(std::vector<DownloadPointer> items);
    void end(const std::vector<DownloadPointer>& items, Result<void> outcome);
    void miss(Download& item, const std::string& reason);

    DownloadList& list_;
    FolderGroups& groups_;
    SaveSchedule& saves_;
    DeletionProof proof_;
    DownloadService* service_ = nullptr;
    TaskScope scope_;
};

}  // namespace tovri
