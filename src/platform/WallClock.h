#pragma once

#include <chrono>
#include <string>

namespace tovri {

using Timestamp = std::chrono::system_clock::time_point;

// The date, for what is saved and shown, and which start of the machine it is. Never for measuring: the date may jump.
class WallClock {
public:
    virtual ~WallClock() = default;
    [[nodiscard]] virtual Timestamp now() const = 0;

    // Tells this start of the machine from every other: what was not durable before another one may be gone. Empty
    // where the machine does not say.
    [[nodiscard]] virtual std::string bootID() const = 0;

    // How far the clock on the user's wall is ahead of UTC at that moment.
    [[nodiscard]] virtual std::chrono::seconds offsetFromUTC(Timestamp moment) const = 0;
};

}  // namespace tovri
