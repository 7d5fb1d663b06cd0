#pragma once

#include <functional>
#include <stop_token>

#include "base/Subscription.h"

namespace tovri {

// Runs what may block (large copies, fsync, encoding a long queue) off the main thread. The work must not touch
// anything that belongs to the main thread: it owns its input and leaves its output where `done` finds it.
class BackgroundQueue {
public:
    using Work = std::move_only_function<void(std::stop_token)>;
    using Done = std::move_only_function<void()>;

    virtual ~BackgroundQueue() = default;

    // Starts the work as soon as a thread is free, then runs `done` on the main thread. Taking the subscription back
    // requests stop of the work and keeps `done` from running; work that has begun is finished all the same.
    virtual Subscription run(Work work, Done done) = 0;
};

}  // namespace tovri
