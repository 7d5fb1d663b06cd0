#pragma once

#include <chrono>
#include <string>

#include "platform/WallClock.h"

namespace tovri {

// "4 Mar 2024, 10:22", on a clock that is so far ahead of UTC.
[[nodiscard]] std::string dateText(Timestamp time, std::chrono::seconds aheadOfUTC);

}  // namespace tovri
