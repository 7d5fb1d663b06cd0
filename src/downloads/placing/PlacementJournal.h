#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Identifier.h"
#include "base/UUID.h"
#include "downloads/partials/Checksum.h"
#include "platform/FileManager.h"

namespace tovri {

using PlacementID = Identifier<struct PlacementKind>;  // tells an item's placements apart, within a process

// A second name of the staged file, beside it, for the time of a move to another volume: should the process die before
// the journal knows the new file, this one shows what arrived.
[[nodiscard]] inline std::filesystem::path witnessPath(const std::filesystem::path& staged) {
    return staged.native() + ".moving";
}

// What arrived, and what put.io said of it when it was asked again: the queue file may not know it yet.
struct ArrivalNote {
    ByteCount size = 0;
    std::optional<Checksum> checksum = std::nullopt;
    std::optional<ByteCount> listedSize = std::nullopt;
    std::optional<Checksum> listedChecksum = std::nullopt;
};

// What the journal remembers: `file`, received as `staged`, was about to become `target`.
struct PlacementEntry {
    PlacementID id;
    UUID item;
    FileIdentity file;
    std::filesystem::path staged;
    std::filesystem::path target;
    std::optional<ArrivalNote> arrival = std::nullopt;  // none in the lines of an earlier version
};

// Remembers which file is about to get which name, from before it has it until the queue file knows. So a process that
// dies in between neither fetches the file again nor leaves it twice. Survives a kill; after a loss of power a file
// that was not made durable is fetched again. Any thread: files are placed in the background while the queue is saved.
class PlacementJournal {
public:
    // `files` outlives this; `file` is the journal's own.
    PlacementJournal(FileManager& files, std::filesystem::path file);

    // For a placement that begins. Main thread.
    [[nodiscard]] PlacementID nextID() { return PlacementID(++last_.number); }

    // `entry.staged` is about to become, or has just become, `entry.target`; `entry.file` is what stands there. A
    // journal that cannot be written keeps nothing from being placed.
    void note(const PlacementEntry& entry);

    // What was noted, and the queue file does not say yet, survives a loss of power from now on.
    Result<void> makeDurable();

    // The queue file says what became of the placements.
    void forget(const std::vector<PlacementID>& placements);

    // What the previous process left, in its order; it stays until it is forgotten. Main thread.
    [[nodiscard]] std::vector<PlacementEntry> recover();

    // Whether the file of such an entry got its name. Removes what was gathered beside the name. Blocks as long as the
    // target's volume does.
    [[nodiscard]] bool hasArrived(const PlacementEntry& entry);

private:
    [[nodiscard]] bool haveEqualContent(const std::filesystem::path& a, const std::filesystem::path& b);
    Result<void> rewrite();

    FileManager& files_;
    std::filesystem::path file_;
    std::mutex access_;
    std::unordered_map<PlacementID, std::string> lines_;  // several where several names were tried
    std::size_t forgottenBytes_ = 0;                      // in the file still
    bool lacksLines_ = false;                             // some could not be written, or the last one is torn
    PlacementID last_;
};

}  // namespace tovri
