#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "downloads/list/DownloadList.h"
#include "downloads/placing/PlacementJournal.h"
#include "downloads/running/VolumeLanes.h"
#include "downloads/saving/SaveSchedule.h"

namespace tovri {

// Takes what has arrived to the disk, so that it would survive a loss of power: for each volume the files of some
// seconds together, then their folders, then the journal of placements. The one place that does, and that says so in
// an item's `durable`. Each volume's syncs have a lane of their own beside the one that writes, which they would hold
// up.
class DurabilityCommit {
public:
    // Follows `list`: what becomes completed is added by itself. All references outlive this.
    DurabilityCommit(VolumePorts ports, DownloadList& list, SaveSchedule& saves,
                     std::shared_ptr<PlacementJournal> journal);

    // How long a file that has arrived may wait for others.
    static constexpr std::chrono::seconds patience{2};

    // Takes a completed item's file to the disk with the next commit. For the file of a rule that is now: the rule has
    // to know it before the item leaves the queue.
    void add(const DownloadPointer& item);

    // Returns when the file would survive a loss of power, or why it cannot be made to. It waits for no others. `lane`
    // is its volume's.
    Task<Result<void>> secure(std::filesystem::path placed, std::string lane);

    // Returns when all that has arrived so far would survive, waiting for no others. Fails for good when the disk has
    // refused one file since the program began.
    Task<Result<void>> secureAll(std::stop_token stop);

    // Nothing waits for others any more: the process is about to end.
    void hurry();

    [[nodiscard]] bool isDone() const { return unfinished_.empty(); }

    // Where the files are that are not done yet, each folder as often as it has one.
    [[nodiscard]] const std::multiset<std::filesystem::path>& unfinishedFolders() const { return unfinished_; }

    // Told of each item that was added, once its file would survive, or where that cannot be had.
    Subscription onSecured(std::function<void(const Download&)> tell) { return secured_.subscribe(std::move(tell)); }

    // Told each time when nothing is left to do.
    Subscription onDone(std::function<void()> tell) { return done_.subscribe(std::move(tell)); }

private:
    using Path = std::filesystem::path;

    struct Arrival {
        Path path;
        DownloadPointer item;                       // null: of the caller of secure
        Answer<std::monostate>::Done secured = {};  // likewise
    };

    struct Volume {
        std::vector<Arrival> waiting;
        bool isUrgent = false;
        bool isCommitting = false;
        Subscription next;
    };

    // What became of one file.
    struct Outcome {
        Result<void> durable;
        bool isGone = false;
    };

    Task<> findVolume(DownloadPointer item);
    void wait(const std::string& lane, Arrival arrival);
    void arrange(const std::string& lane);
    Task<> commit(std::string lane);
    void conclude(Arrival arrival, const Outcome& outcome);
    void concludeItem(Download& item, const Path& path, const Outcome& outcome);

    VolumePorts ports_;
    DownloadList& list_;
    SaveSchedule& saves_;
    std::shared_ptr<PlacementJournal> journal_;        // shared with work under way
    std::unordered_map<std::string, Volume> volumes_;  // by lane
    std::multiset<Path> unfinished_;                   // folders of arrivals that are not durable yet
    bool isHurrying_ = false;
    std::optional<Error> refused_;  // the first file that the disk would not keep
    Signal<> done_;
    Signal<const Download&> secured_;
    Subscription following_;
    TaskScope scope_;
};

}  // namespace tovri
