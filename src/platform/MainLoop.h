#pragma once

#include <chrono>
#include <functional>

#include "base/Subscription.h"

namespace tovri {

// The loop that runs everything on the main thread, one job after the other, and the monotonic clock that it goes by.
class MainLoop {
public:
    using Job = std::move_only_function<void()>;
    using Duration = std::chrono::steady_clock::duration;
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~MainLoop() = default;

    [[nodiscard]] virtual TimePoint now() const = 0;

    // Runs the job on the main thread, after those posted before it. Any thread.
    virtual void post(Job job) = 0;

    // Runs the job once, when the delay has passed and the returned subscription still stands.
    virtual Subscription schedule(Duration delay, Job job) = 0;
};

}  // namespace tovri
