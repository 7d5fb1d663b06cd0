#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <unordered_set>
#include <vector>

#include "base/TaskScope.h"
#include "downloads/list/DownloadList.h"
#include "downloads/placing/DurabilityCommit.h"
#include "downloads/placing/PlacementJournal.h"
#include "downloads/restoring/PlacedCopy.h"
#include "downloads/running/Settlement.h"
#include "downloads/running/VolumeLanes.h"

namespace tovri {

// Whether the previous process ran since the same start of the machine.
enum class MachineStart { same, another };

// Finds out at the start what became of the files that the previous process was placing, and of those that the machine
// may have lost since. Each is looked at on the thread of its volume: one that hangs holds up only its own items.
class Recovery {
public:
    // Told on the main thread.
    struct Observer {
        std::function<void(const DownloadPointer&)> goesOn;  // an item that was held is free, or has arrived
        std::function<void(PlacementID)> isKnown;            // what became of it is in its item
        std::function<void(const DownloadPointer&)>
            isLost;                      // what had arrived of a completed item is not there any more
        std::function<void()> hasEnded;  // the last file was looked at
    };

    // The references outlive this.
    Recovery(VolumePorts ports, DownloadList& list, Settlement& settlement, DurabilityCommit& durability,
             std::shared_ptr<PlacementJournal> journal, Observer observer);

    // Looks for what the journal says, and completes the items whose files have got their names. A file that the
    // previous process had received goes once that is known, unless it is among those to be kept.
    void lookForArrived(std::vector<PlacementEntry> entries, const std::set<std::filesystem::path>& kept,
                        MachineStart start);

    // Looks at the files of completed items that were not durable when the machine stopped.
    void lookForLost(const std::vector<DownloadPointer>& items);

    // An item about whose file nobody knows yet whether it has arrived. It is not to start.
    [[nodiscard]] bool isHeld(const Download& item) const { return held_.contains(item.id); }

    [[nodiscard]] std::size_t heldCount() const { return held_.size(); }

    [[nodiscard]] bool isLooking() const { return !looks_.empty(); }

    // Where it looks, each folder as often as it has a file.
    [[nodiscard]] const std::multiset<std::filesystem::path>& foldersLookedAt() const { return looks_; }

    // A completed item whose file the machine may have lost: nobody knows yet.
    [[nodiscard]] bool mayBeLost(const Download& item) const { return doubtful_.contains(item.id); }

private:
    using Path = std::filesystem::path;

    // All that the journal says of one item.
    struct Placements {
        UUID item;
        std::vector<PlacementEntry> entries;
        std::vector<Path> leftovers;  // of what had been received
    };

    struct Finding {
        Path arrived;  // empty: nothing has
        ByteCount size = 0;
        std::optional<ArrivalNote> note = std::nullopt;  // of the placement that brought it
        bool isDurable = false;
    };
    class ArrivalLook;

    Task<> lookForPlacements(Placements placements, MachineStart start);
    Task<> lookForCopy(DownloadPointer item);
    void complete(const DownloadPointer& item, const Finding& finding);
    void lookEnded(const Path& folder);

    VolumePorts ports_;
    DownloadList& list_;
    Settlement& settlement_;
    DurabilityCommit& durability_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with work under way
    Observer observer_;
    std::unordered_set<UUID> held_;
    std::unordered_set<UUID> doubtful_;
    std::multiset<Path> looks_;  // the folders that are being looked at
    TaskScope scope_;
};

}  // namespace tovri
