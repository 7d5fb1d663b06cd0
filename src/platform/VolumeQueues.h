#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace tovri {

// Does what may block on a volume (writing, syncing, looking at its files): the work of each lane one after the other,
// beside that of all other lanes. So a volume that hangs holds up only those who wait for it. Work owns all that it
// uses, or uses what any thread may, and is destroyed where it ran.
class VolumeQueues {
public:
    using Work = std::move_only_function<void()>;

    virtual ~VolumeQueues() = default;

    // Does `work` after all that was given to the lane before. Any name is a lane, for as long as it has work. Any
    // thread.
    virtual void run(const std::string& lane, Work work) = 0;

    // Blocks until the lane has no work left, but at the longest so long. False when the time was too short; the work
    // goes on.
    [[nodiscard]] virtual bool waitFor(const std::string& lane, std::chrono::milliseconds limit) = 0;

    // Blocks until no lane has work left, that which work gives meanwhile included, but at the longest so long. False
    // when the time was too short: nothing begins any more, and the process must end without taking down what the work
    // under way may use.
    [[nodiscard]] virtual bool finish(std::chrono::milliseconds limit) = 0;

    // How long the end of a process waits for volumes, in all.
    static constexpr std::chrono::milliseconds patienceAtEnd{1700};

    // From now on none of the waits above lasts longer than until so much later: the process is about to end, and what
    // hangs keeps it once, not at each step. A later call does not put the end off.
    virtual void limitWaits(std::chrono::milliseconds limit) = 0;
};

}  // namespace tovri
