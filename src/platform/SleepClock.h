#pragma once

#include <chrono>

namespace tovri {

// Knows how long this machine has been asleep, which clocks that measure waiting leave out. Any thread.
class SleepClock {
public:
    virtual ~SleepClock() = default;

    // Since the machine started, all together: a jump tells that it slept since the last look.
    [[nodiscard]] virtual std::chrono::nanoseconds timeAsleep() const = 0;
};

}  // namespace tovri
