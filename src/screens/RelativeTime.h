#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "platform/WallClock.h"

namespace tovri {

// How long ago a date is. A file may hold any date, so beyond 100 years either way it is 100 years.
[[nodiscard]] std::chrono::nanoseconds timeSince(Timestamp then, Timestamp now);

enum class UnitNames : std::uint8_t {
    abbreviated,  // "3 sec", "5 min", "2 hr", "1 day", "4 days"
    whole,        // "1 second", "5 minutes"
};

// How long something took or lies back, in its largest unit alone. Less than nothing, as after the clock was set, reads
// as "0 sec".
[[nodiscard]] std::string relativeTimeText(std::chrono::nanoseconds elapsed, UnitNames names = UnitNames::abbreviated);

// How much later the text will be another one; always more than nothing.
[[nodiscard]] std::chrono::nanoseconds timeToNextRelativeText(std::chrono::nanoseconds elapsed);

}  // namespace tovri
