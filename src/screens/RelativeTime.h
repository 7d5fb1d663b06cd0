#pragma once

#include <chrono>
#include <string>

namespace tovri {

// How long something took or lies back, in its largest unit alone: "3 sec", "5 min", "2 hr", "1 day", "4 days". Less
// than nothing, as after the clock was set, reads as "0 sec".
[[nodiscard]] std::string relativeTimeText(std::chrono::nanoseconds elapsed);

// How much later the text will be another one; always more than nothing.
[[nodiscard]] std::chrono::nanoseconds timeToNextRelativeText(std::chrono::nanoseconds elapsed);

}  // namespace tovri
