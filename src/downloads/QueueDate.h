#pragma once

#include <algorithm>
#include <chrono>

#include "platform/WallClock.h"

namespace tovri {

// Dates in the queue file: seconds since 2001-01-01 00:00:00 UTC, with fractions.
inline constexpr Timestamp queueEpoch = std::chrono::sys_days{std::chrono::year{2001} / 1 / 1};

[[nodiscard]] inline double queueDate(Timestamp time) {
    return std::chrono::duration<double>(time - queueEpoch).count();
}

// A date beyond what a Timestamp can hold (some 290 years either way) becomes the nearest one that it can.
[[nodiscard]] inline Timestamp timestamp(double queueDate) {
    constexpr double furthest = 8'000'000'000;
    const std::chrono::duration<double> since(std::clamp(queueDate, -furthest, furthest));
    return queueEpoch + std::chrono::duration_cast<Timestamp::duration>(since);
}

}  // namespace tovri
