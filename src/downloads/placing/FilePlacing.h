#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>

#include "base/Result.h"
#include "downloads/placing/ConflictQueue.h"
#include "downloads/placing/PlacementJournal.h"
#include "platform/FileManager.h"
#include "platform/FolderAccess.h"

namespace tovri {

// The steps of a placement that touch the disk. A value that a volume's thread works on by itself; the ports in it may
// be used on any thread.
struct FilePlacing {
    FileManager& files;
    FolderAccess& folderAccess;
    std::shared_ptr<PlacementJournal> journal;
    PlacementNumber placement;
    UUID item;
    std::shared_ptr<const ByteBlob> bookmark;  // of the destination folder; null when it needs none
    std::filesystem::path received;
    std::filesystem::path destination;

    // Where the file stands now; `alreadyExists` when the name is taken.
    [[nodiscard]] Result<std::filesystem::path> place(const std::stop_token& stop) const;

    // Where the file stands now; an empty path when it was skipped.
    [[nodiscard]] Result<std::filesystem::path> apply(ConflictChoice choice, const std::stop_token& stop) const;

private:
    [[nodiscard]] Result<std::filesystem::path> moveToFree(const std::filesystem::path& target,
                                                           const std::stop_token& stop) const;
    [[nodiscard]] Result<std::filesystem::path> keepBoth(const std::stop_token& stop) const;
    // Gives the received file its name with `move`, and stands in the journal before it has it.
    template <class Move>
    [[nodiscard]] Result<void> moveTo(const std::filesystem::path& target, Move move) const;
};

}  // namespace tovri
