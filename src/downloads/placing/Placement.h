#pragma once

#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/Task.h"
#include "downloads/list/Download.h"
#include "downloads/placing/FilePlacing.h"
#include "platform/Await.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// Brings received files to their places, on the thread of the volume that gets them, and keeps the journal of it. Knows
// no status, and decides nothing about a name that is taken.
class Placement {
public:
    using Path = std::filesystem::path;

    // What it works with; outlives it.
    struct Ports {
        MainLoop& loop;
        VolumeQueues& volumes;
        FileManager& files;
        FolderAccess& folderAccess;
    };

    Placement(Ports ports, std::shared_ptr<PlacementJournal> journal) : ports_(ports), journal_(std::move(journal)) {}

    // A received file, and where it is to go.
    struct Request {
        UUID item;
        std::shared_ptr<const ByteBlob> bookmark;  // of the destination folder; null when it needs none
        Path received;
        Path destination;
        std::string lane;  // of the destination's volume
    };

    // Where the file stands now; `alreadyExists` when the name is taken. A stop ends a copy to another volume: then the
    // failure is a cancellation.
    Task<Result<Path>> place(Request request, std::stop_token stop);

    // Where the file stands now; an empty path when it was skipped.
    Task<Result<Path>> apply(Request request, ConflictChoice choice, std::stop_token stop);

    // Returns when the file, its name and the journal would survive a loss of power, or cannot be made to: whoever
    // deletes anything because of it finds out by itself.
    Task<> secure(Path placed, std::string lane);

    // The placements that ended since the last call; what became of them is in their items.
    [[nodiscard]] std::vector<PlacementNumber> takeEnded() { return std::exchange(ended_, {}); }

private:
    template <class Act>
    Task<Result<Path>> perform(Request request, Act act);

    Ports ports_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with steps under way
    std::vector<PlacementNumber> ended_;
};

}  // namespace tovri
