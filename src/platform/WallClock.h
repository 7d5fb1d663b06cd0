#pragma once

#include <chrono>

namespace tovri {

using Timestamp = std::chrono::system_clock::time_point;

// The date, for what is saved and shown. Never for measuring: it may jump.
class WallClock {
public:
    virtual ~WallClock() = default;
    [[nodiscard]] virtual Timestamp now() const = 0;
};

}  // namespace tovri
