#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <unordered_map>
#include <unordered_set>

#include "base/TaskScope.h"
#include "downloads/placing/ConflictQueue.h"
#include "downloads/placing/FilePlacing.h"
#include "downloads/placing/PlacementJournal.h"
#include "downloads/running/Settlement.h"
#include "platform/Platform.h"
#include "settings/Preferences.h"

namespace tovri {

// Brings a staged file to its place under its put.io name, off the main thread unless a rename does it, without ever
// overwriting what stands there, and lets the preferences or the user decide when the name is taken. The item keeps its
// slot until then.
class Placement {
public:
    // The references outlive this. `stepEnded` runs whenever an item was closed or begins to wait for the user.
    Placement(const Platform& platform, std::shared_ptr<PlacementJournal> journal, DownloadList& list,
              ConflictQueue& conflicts, Settlement& settlement, SaveSchedule& saves, std::function<void()> stepEnded);

    void configure(const Preferences& preferences) { preferences_ = &preferences; }

    // Places the file of an item that is downloading, or awaiting a conflict since before the last start.
    void placeFile(const DownloadPointer& item, const std::filesystem::path& staged);

    // Ends the item's placement as soon as it can be ended. A file that has just arrived under a name of its own goes
    // again; one that has replaced another stays.
    void withdraw(const Download& item);

    // The placements that ended since the last call; what became of them is in their items.
    [[nodiscard]] std::vector<PlacementNumber> takeEnded() { return std::exchange(ended_, {}); }

    [[nodiscard]] bool isIdle() const { return running_.empty(); }

private:
    using Path = std::filesystem::path;

    struct Running {
        UUID item;
        std::stop_source stop;
    };

    Task<> place(DownloadPointer item, Path staged);
    Task<Result<Path>> perform(FilePlacing step);
    Task<> handleConflict(DownloadPointer item, Path staged, Path existing);
    Task<> beginConflictResolution(DownloadPointer item, Path staged, Path existing);
    Task<> applyConflictChoice(DownloadPointer item, ConflictChoice choice, Path staged, Path existing);

    // None: ask the user.
    [[nodiscard]] std::optional<ConflictChoice> effectiveConflictChoice() const;
    // From `begin` to `end` a step is under way in the background.
    [[nodiscard]] FilePlacing begin(const Download& item, const Path& staged, const Path& destination);

    [[nodiscard]] std::stop_token stopToken(PlacementNumber number) { return running_.at(number).stop.get_token(); }

    void end(PlacementNumber number);
    [[nodiscard]] bool isCurrent(const Download& item, std::uint32_t attempt) const;
    void discard(const Path& staged);

    Platform platform_;
    std::shared_ptr<PlacementJournal> journal_;  // shared with steps under way in the background
    DownloadList& list_;
    ConflictQueue& conflicts_;
    Settlement& settlement_;
    SaveSchedule& saves_;
    std::function<void()> stepEnded_;
    const Preferences* preferences_ = nullptr;
    std::unordered_map<PlacementNumber, Running> running_;
    std::vector<PlacementNumber> ended_;
    std::unordered_set<std::string> nearFolders_;  // destination folders on the volume of the staging folder
    TaskScope scope_;
};

}  // namespace tovri
