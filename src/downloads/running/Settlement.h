#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "downloads/deleting/RemoteDeletion.h"
#include "downloads/partials/Leftovers.h"
#include "downloads/placing/ConflictQueue.h"
#include "platform/WallClock.h"

namespace tovri {

// Closes an item, one way or another, and tells everyone whom that concerns: the automation rule that queued it, its
// folder group, its conflict, the deletion from put.io, what transfers have left of its file, the queue file.
class Settlement {
public:
    using SyncFileSettled = std::function<void(const UUID& rule, FileID fileID)>;

    // The references outlive this.
    Settlement(DownloadList& list, ConflictQueue& conflicts, RemoteDeletion& deletion, SaveSchedule& saves,
               Leftovers& leftovers, const WallClock& clock)
        : list_(list),
          conflicts_(conflicts),
          deletion_(deletion),
          saves_(saves),
          leftovers_(leftovers),
          clock_(clock) {}

    void setOnSyncFileSettled(SyncFileSettled tell) { onSyncFileSettled_ = std::move(tell); }

    // Told where what settled a file is taken back: its rule waits for it again.
    void setOnSyncFileReturned(SyncFileSettled tell) { onSyncFileReturned_ = std::move(tell); }

    // The file stands, durably where it is to be deleted from put.io, at `url`.
    void markCompleted(const DownloadPointer& item, const std::filesystem::path& url);
    void markSkipped(const DownloadPointer& item);

    // Not told to the automation rule, which keeps the file pending and tries it again.
    void markFailed(const DownloadPointer& item, const std::string& message);

    // Cancelled by the user, whatever its status was.
    void markCancelled(const DownloadPointer& item);

    void notifySyncSettled(const Download& item) const;
    void notifySyncReturned(const Download& item) const;

private:
    DownloadList& list_;
    ConflictQueue& conflicts_;
    RemoteDeletion& deletion_;
    SaveSchedule& saves_;
    Leftovers& leftovers_;
    const WallClock& clock_;
    SyncFileSettled onSyncFileSettled_;
    SyncFileSettled onSyncFileReturned_;
};

}  // namespace tovri
