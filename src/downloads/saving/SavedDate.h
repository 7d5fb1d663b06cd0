#pragma once

#include <algorithm>
#include <chrono>

#include "platform/WallClock.h"

namespace tovri {

// Dates in the files that the program keeps for itself: seconds since 2001-01-01 00:00:00 UTC, with fractions.
inline constexpr Timestamp savedEpoch = std::chrono::sys_days{std::chrono::year{2001} / 1 / 1};

[[nodiscard]] inline double savedDate(Timestamp time) {
    return std::chrono::duration<double>(time - savedEpoch).count();
}

// A date beyond what a Timestamp can hold (some 290 years either way) becomes the nearest one that it can.
[[nodiscard]] inline Timestamp timestamp(double savedDate) {
    constexpr double furthest = 8'000'000'000;
    const std::chrono::duration<double> since(std::clamp(savedDate, -furthest, furthest));
    return savedEpoch + std::chrono::duration_cast<Timestamp::duration>(since);
}

}  // namespace tovri
