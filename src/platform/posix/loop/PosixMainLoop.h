#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <poll.h>

#include "platform/MainLoop.h"
#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// The main loop of a program without a desktop. Sleeps until something is due; never wakes up to look. Whoever
// constructs it owns the main thread: all but `post` is called there.
class PosixMainLoop final : public MainLoop {
public:
    PosixMainLoop();

    [[nodiscard]] TimePoint now() const override;
    void post(Job job) override;
    Subscription schedule(Duration delay, Job job) override;

    // Runs jobs until one calls quit.
    void run();

    // Ends `run` after what is due in this turn of the loop.
    void quit() { isQuitting_ = true; }

    enum class Readiness : std::uint8_t { readable, writable };

    // Runs the job whenever the descriptor can be read or written without waiting, its end and its failure included.
    // The descriptor stays open as long as the subscription stands.
    Subscription watch(int descriptor, Readiness readiness, Job job);

    // Runs the job after the process received the signal, whose usual effect is put off as long as the subscription
    // stands. One subscription for a signal at a time in a process.
    Subscription onSignal(int signal, Job job);

private:
    using Place = std::pair<TimePoint, std::uint64_t>;
    using Timers = std::map<Place, Job>;

    struct Watch {
        int descriptor;
        short events;
        Job job;
    };

    using Watches = std::map<std::uint64_t, std::shared_ptr<Watch>>;

    void wait();
    [[nodiscard]] std::optional<timespec> sleepLimit();
    void runPosted();
    void runTimers();
    void runWatches();

    FileDescriptor wakeUp_;
    std::mutex mutex_;  // guards the two that follow
    std::vector<Job> posted_;
    bool isAsleep_ = false;  // nobody has rung yet
    bool isQuitting_ = false;
    std::uint64_t sequence_ = 0;
    std::shared_ptr<Timers> timers_ = std::make_shared<Timers>();
    std::shared_ptr<Watches> watches_ = std::make_shared<Watches>();
    std::vector<pollfd> polled_;                // the first is wakeUp_
    std::vector<std::uint64_t> polledWatches_;  // whose the others are, in the same order
};

}  // namespace tovri
