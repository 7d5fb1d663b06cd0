#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
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

    // Takes a completed item's file to the disk with the next commit.
    void add(const DownloadPointer& item);

    // Returns when the file would survive a loss of power, or why it cannot be made to. It waits for no others. `lane`
    // is its volume's.
    Task<Result<void>> secure(std::filesystem::path placed, std::string lane);

    // Returns when all that has arrived so far would survive, waiting for no others. Fails for good when the disk has
    // refused one file since the program began.
    Task<Result<void>> secureAll(std::stop_token stop);

    // Nothing waits for others any more: the process is about to end.
    void hurry();

    [[nodiscard]] bool isDone() const { return unfinished_ == 0; }

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
    std::size_t unfinished_ = 0;                       // arrivals that are not durable yet
    bool isHurrying_ = false;
    std::optional<Error> refused_;  // the first file that the disk would not keep
    Signal<> done_;
    Subscription following_;
    TaskScope scope_;
};

}  // namespace tovri
