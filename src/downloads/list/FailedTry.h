#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "platform/WallClock.h"

namespace tovri {

// A try to bring a file that failed.
struct FailedTry {
    Timestamp at;      // when it ended
    std::string what;  // what went wrong, as the user reads it

    bool operator==(const FailedTry&) const = default;
};

// Those of one item, the oldest first.
using FailedTries = std::vector<FailedTry>;

// So many are kept.
inline constexpr std::size_t mostFailedTries = 20;

// Drops the oldest ones that are too many. Null where none are left.
[[nodiscard]] std::shared_ptr<const FailedTries> keptTries(FailedTries tries);

}  // namespace tovri
