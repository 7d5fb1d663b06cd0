#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/DownloadService.h"
#include "downloads/deleting/DeletionProof.h"
#include "downloads/deleting/FolderGroups.h"
#include "downloads/list/DownloadList.h"
#include "downloads/saving/SaveSchedule.h"

namespace tovri {

// Deletes files from put.io once they are safely on the disk: one file by itself, or a whole folder with one request
// after its last file. Nothing is deleted before every file that goes was proven to be here, unless the user knows what
// is missing.
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

    // Proves and asks again, for a folder together with all of its items whose deletion failed. Ignores any other item.
    void retryDelete(const DownloadPointer& item) { tryAgain(item, std::nullopt); }

    // The same for a user who has read in the item's error what is missing: that stands in the way no more, but
    // anything else does.
    void deleteAnyway(const DownloadPointer& item) { tryAgain(item, item->error); }

private:
    using Status = Download::Status;

    struct Deletion {
        FileID id;                             // a folder's, or that of the only item
        std::vector<DownloadPointer> items;    // whose status follows the outcome
        std::vector<DownloadPointer> members;  // whose files go: the items, and others of their folder
        bool isFolder = false;
        bool isRetry = false;
        std::optional<std::string> accepted = {};  // what is missing, as the user knows
    };

    void tryAgain(const DownloadPointer& item, std::optional<std::string> accepted);
    Task<> deleteRemote(Deletion deletion);
    Task<Result<void>> carryOut(Deletion deletion);
    Task<> learnAgain(std::vector<DownloadPointer> members);
    Task<Result<std::vector<ProvenFile>>> prove(Deletion deletion);
    Task<Result<void>> proveEmpty(DownloadPointer item);
    Task<Result<void>> request(Deletion deletion, std::vector<ProvenFile> proven);
    Task<Result<bool>> wasDoneBefore(Deletion deletion);
    Task<bool> isAbsent(Deletion deletion);
    [[nodiscard]] static Result<void> checkMembers(const Deletion& deletion);
    void end(const std::vector<DownloadPointer>& items, Result<void> outcome);
    void miss(Download& item, const Error& reason);

    DownloadList& list_;
    FolderGroups& groups_;
    SaveSchedule& saves_;
    DeletionProof proof_;
    DownloadService* service_ = nullptr;
    TaskScope scope_;
};

}  // namespace tovri
