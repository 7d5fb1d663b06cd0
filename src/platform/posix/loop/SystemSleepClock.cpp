#include "platform/posix/loop/SystemSleepClock.h"

#include <ctime>

namespace tovri {
namespace {

std::chrono::nanoseconds read(clockid_t clock) {
    timespec time{};
    ::clock_gettime(clock, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

// The one clock counts the sleep, the other does not (clock_gettime(2)). In this order a stop between the two readings
// never looks like sleep.
std::chrono::nanoseconds SystemSleepClock::timeAsleep() const {
    const std::chrono::nanoseconds sinceStart = read(CLOCK_BOOTTIME);
    return sinceStart - read(CLOCK_MONOTONIC);
}

}  // namespace tovri
