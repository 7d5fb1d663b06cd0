#pragma once

#include <atomic>

#include "platform/SleepClock.h"

namespace tovri::test {

// A machine that sleeps when a test says so.
class FakeSleepClock final : public SleepClock {
public:
    [[nodiscard]] std::chrono::nanoseconds timeAsleep() const override { return slept_.load(); }

    void sleep(std::chrono::nanoseconds time) { slept_ = slept_.load() + time; }

private:
    std::atomic<std::chrono::nanoseconds> slept_{};
};

}  // namespace tovri::test
