#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
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

    Placement(Ports ports, std::shared_ptr<PlacementJournal> journal, std::shared_ptr<BroughtFiles> brought)
        : ports_(ports), journal_(std::move(journal)), brought_(std::move(brought)) {}

    // A received file, and where it is to go.
    struct Request {
        const DownloadRun* run = nullptr;  // for which it is done
        UUID item;
        std::shared_ptr<const ByteBlob> bookmark;  // of the destination folder; null when it needs none
        Path received;
        Path destination;
        std::string lane;                     // of the destination's volume
        bool isDeletedLater = false;          // put.io is to delete the original
        std::optional<std::uint64_t> volume;  // the destination's number, where it is known
        ReplaceConsent consent = ReplaceConsent::policy;
        ArrivalNote arrival = {};
    };

    // Where the file stands now; `alreadyExists` when the name is taken, `otherVolume` when the volume is another. A
    // stop ends a copy to another volume: then the failure is a cancellation.
    Task<Result<Path>> place(Request request, std::stop_token stop);

    // Puts the file in the place of a copy that an item placed before, if that stands there unchanged; else
    // `alreadyExists`. The request's destination is the copy's.
    Task<Result<Path>> takePlaceOf(DifferingCopy copy, Request request, std::stop_token stop);

    // Where the file stands now; an empty path when it was skipped.
    Task<Result<Path>> apply(Request request, ConflictChoice choice, std::stop_token stop);

    // Whether what stands at the path may be the only copy of what it holds.
    Task<bool> isOnlyCopy(Path path, std::string lane);

    // What the placed file is like now.
    Task<std::optional<FileStamp>> stamp(Path placed, std::string lane);

    // What became of the run's placements is in its item from now on. Until then the journal alone knows a file that
    // has its name while its bytes are being made durable.
    void runEnded(const DownloadRun* run);

    // The placements of which that is so since the last call, and those that failed.
    [[nodiscard]] std::vector<PlacementID> takeEnded() { return std::exchange(ended_, {}); }

private:
    template <class Act>
    Task<Result<Path>> perform(Request request, Act act);

    Ports ports_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with steps under way
    std::shared_ptr<BroughtFiles> brought_;      // likewise
    std::unordered_map<const DownloadRun*, std::vector<PlacementID>> arrived_;
    std::vector<PlacementID> ended_;
};

}  // namespace tovri
