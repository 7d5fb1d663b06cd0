#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <optional>
#include <unordered_set>

#include "downloads/list/DownloadList.h"

namespace tovri {

// What to do with a received file whose name is taken.
enum class ConflictChoice { replace, keepBoth, skip };

// The answer to a conflict; none when it was withdrawn because its item was cancelled, removed or closed otherwise.
using ConflictResolution = std::optional<ConflictChoice>;

// One open question to the user.
struct FileConflict {
    UUID id;
    ConstDownloadPointer download;
    std::filesystem::path existingURL;  // the entry that has the name
    std::filesystem::path tempURL;      // the staged file
    bool isOnlyCopy = false;            // that entry's original is no longer on put.io
    std::move_only_function<void(ConflictResolution)> continuation = {};  // called exactly once
};

// The conflicts that wait for the user: one is shown, the others wait behind it in the order of their arrival. An
// answer for all covers every item that was unfinished when it was given, until each has finished or left. Moves no
// file.
class ConflictQueue {
public:
    // `list` outlives this.
    explicit ConflictQueue(DownloadList& list);

    // The conflict that the dialog shows, or null.
    [[nodiscard]] const FileConflict* pendingConflict() const { return pending_ ? &*pending_ : nullptr; }

    // The answer for all, where it covers the item. Only who is told replaces what may be the only copy.
    [[nodiscard]] std::optional<ConflictChoice> rememberedChoice(const FileConflict& conflict) const;

    void presentOrQueueConflict(FileConflict conflict);

    // The user's answer to the shown conflict; ignored when none is shown.
    void resolveConflict(ConflictChoice choice, bool applyToAll);

    // Withdraws the item's conflict, if it has one.
    void dismissConflict(const Download& item);

private:
    void advanceConflictQueue();
    void pruneApplyToAll();
    void follow(const QueueChange& change);
    void show(std::optional<FileConflict> conflict);

    DownloadList& list_;
    std::optional<FileConflict> pending_;
    std::deque<FileConflict> queuedConflicts_;
    std::optional<ConflictChoice> applyToAllChoice_;
    std::unordered_set<UUID> applyToAllDownloadIDs_;  // of items in the list that are not finished
    Subscription subscription_;
};

}  // namespace tovri
