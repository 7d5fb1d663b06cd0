#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "downloads/placing/PlacementJournal.h"
#include "downloads/saving/DownloadStore.h"
#include "downloads/saving/SaveSchedule.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// Writes the queue file behind the main loop's back, in a lane of its own: at most one save runs, and one waits, which
// takes the queue as it is when its turn comes. The placement journal forgets what the file says, and only then.
class QueueSaver {
public:
    // What it asks its owner for, on the main thread.
    struct Queue {
        std::function<QueueSnapshot()> snapshot;
        std::function<std::vector<PlacementID>()> takeEnded;  // those whose ends the snapshot says, each once
        std::function<void()> failureChanged;
    };

    // What it works with; outlives it and the saves under way.
    struct Ports {
        MainLoop& loop;
        VolumeQueues& volumes;
        DiagnosticLog& log;
    };

    // `schedule` outlives this.
    QueueSaver(Ports ports, std::shared_ptr<DownloadStore> store, std::shared_ptr<PlacementJournal> journal,
               SaveSchedule& schedule, Queue queue);

    // Begins a save, or has one wait for that under way.
    void save();

    // Returns when the queue as it is now is written. False when it could not be: then failure() says why. Waits at
    // most two seconds for the save under way, and for its own as long as a slow disk may take for a long queue.
    bool saveNow();

    // That and why the last save failed, after a diagnostic line; none when it did not. Another follows in half a
    // minute.
    [[nodiscard]] const std::optional<std::string>& failure() const { return failure_; }

    // The next save says it.
    void noteEnded(PlacementID placement) { ended_.push_back(placement); }

private:
    struct Save {
        std::vector<PlacementID> ended;
        std::optional<Result<ByteCount>> outcome;  // the lane's until it is done
    };

    void begin();
    void end();
    [[nodiscard]] bool finishRunning(std::chrono::milliseconds patience);
    void setFailure(std::optional<std::string> failure);

    Ports ports_;
    std::shared_ptr<DownloadStore> store_;
    std::shared_ptr<PlacementJournal> journal_;
    SaveSchedule& schedule_;
    Queue queue_;

    std::shared_ptr<Save> running_;
    bool isWanted_ = false;           // another save waits for the running one
    std::vector<PlacementID> ended_;  // what no save has written yet
    std::optional<std::string> failure_;
    Subscription retry_;
    std::shared_ptr<QueueSaver*> self_;  // a save's report holds it weakly
};

}  // namespace tovri
