#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>

#include "base/Result.h"
#include "downloads/placing/BroughtFiles.h"
#include "downloads/placing/ConflictQueue.h"
#include "downloads/placing/PlacementJournal.h"
#include "platform/FileManager.h"
#include "platform/FolderAccess.h"

namespace tovri {

// How much whoever decided to replace what has a name knew about it.
enum class ReplaceConsent {
    policy,    // nobody was asked: what came with the deletion of its original stays
    user,      // the user was: what was the only copy, without the user knowing it, stays
    informed,  // the user was told that the original is gone
};

// The steps of a placement that touch the disk. A value that a volume's thread works on by itself; the ports in it may
// be used on any thread.
struct FilePlacing {
    FileManager& files;
    FolderAccess& folderAccess;
    std::shared_ptr<PlacementJournal> journal;
    PlacementID placement;
    UUID item;
    std::shared_ptr<const ByteBlob> bookmark;  // of the destination folder; null when it needs none
    std::filesystem::path received;
    std::filesystem::path destination;
    std::shared_ptr<BroughtFiles> brought;
    bool isDeletedLater = false;  // put.io is to delete the original
    ReplaceConsent consent = ReplaceConsent::policy;
    std::optional<std::uint64_t> volume;  // the destination's number, where it is known
    ArrivalNote arrival = {};

    // Where the file stands now; `alreadyExists` when the name is taken, `otherVolume` when the volume is another.
    [[nodiscard]] Result<std::filesystem::path> place(const std::stop_token& stop) const;

    // Puts the file in the place of what looked like `former` a moment ago; `alreadyExists` where something else stands
    // there, or it must not be replaced.
    [[nodiscard]] Result<std::filesystem::path> takePlaceOf(const FileStamp& former, const std::stop_token& stop) const;

    // Where the file stands now; an empty path when it was skipped. What must not be replaced is kept beside it.
    [[nodiscard]] Result<std::filesystem::path> apply(ConflictChoice choice, const std::stop_token& stop) const;

private:
    [[nodiscard]] Result<void> checkVolume() const;
    [[nodiscard]] Result<std::filesystem::path> moveToFree(const std::filesystem::path& target,
                                                           const std::stop_token& stop) const;
    [[nodiscard]] Result<std::filesystem::path> replace(const std::stop_token& stop) const;
    [[nodiscard]] Result<std::filesystem::path> keepBoth(const std::stop_token& stop) const;
    [[nodiscard]] bool mayReplace() const;
    void note(const FileIdentity& file, const std::filesystem::path& target) const;
    void noteBrought(const std::filesystem::path& target) const;
    // Gives the received file its name with `move`, and stands in the journal before it has it.
    template <class Move>
    [[nodiscard]] Result<void> moveTo(const std::filesystem::path& target, Move move) const;
};

}  // namespace tovri
