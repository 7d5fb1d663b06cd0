#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>

#include "platform/WallClock.h"

namespace tovri {

// When an item that failed goes on for its automation rule, which puts it back into the queue at each of its passes.
struct RuleRetry {
    std::int64_t failures = 0;  // one after the other
    std::string reason;         // of the last one, as the user saw it
    Timestamp notBefore;        // kept in the queue file

    bool operator==(const RuleRetry&) const = default;

    // After so many failures: 1, 2, 4 ... 60 minutes.
    [[nodiscard]] static std::chrono::minutes delay(std::int64_t failures) {
        constexpr std::int64_t doublings = 6;
        constexpr std::chrono::minutes longest{60};
        return std::min(std::chrono::minutes(1) * (1 << std::clamp<std::int64_t>(failures - 1, 0, doublings)), longest);
    }
};

}  // namespace tovri
