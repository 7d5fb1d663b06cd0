#pragma once

#include <string>

#include "platform/WallClock.h"

namespace tovri::cli {

// "2026-11-23T19:40:02Z": in UTC, to the second.
[[nodiscard]] std::string timeText(Timestamp time);

}  // namespace tovri::cli
