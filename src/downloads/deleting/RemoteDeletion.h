#pragma once

#include <cstdint>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/deleting/FolderGroups.h"
#include "downloads/list/DownloadList.h"
#include "downloads/saving/SaveSchedule.h"
#include "service/PutIOAPI.h"

namespace tovri {

// Deletes files from put.io once they are safely on the disk: one file by itself, or a whole folder with one request
// after its last file. Whether a file is safe is decided by whoever calls.
class RemoteDeletion {
public:
    // The references outlive this.
    RemoteDeletion(DownloadList& list, FolderGroups& groups, SaveSchedule& saves)
        : list_(list), groups_(groups), saves_(saves) {}

    void configure(PutIOAPI& api) { api_ = &api; }

    // Deletes the item's own file.
    void deleteFile(const DownloadPointer& item);

    // Evaluates the item's group: deletes the folder when every file has arrived, gives up when one never will.
    void checkFolderGroup(const Download& item);

    // Asks again, for a folder together with all of its items whose deletion failed. Ignores any other item.
    void retryDelete(const DownloadPointer& item);

private:
    Task<> deleteRemote(std::int64_t id, std::vector<DownloadPointer> items);
    void fail(Download& item, const std::string& reason);

    DownloadList& list_;
    FolderGroups& groups_;
    SaveSchedule& saves_;
    PutIOAPI* api_ = nullptr;
    TaskScope scope_;
};

}  // namespace tovri
