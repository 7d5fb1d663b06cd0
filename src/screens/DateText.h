#pragma once

#include <string>

#include "platform/WallClock.h"

namespace tovri {

// "23 Nov 2026, 19:40:02", by the clock on the wall.
[[nodiscard]] std::string dateText(Timestamp time, const WallClock& clock);

// The same of a date as put.io writes it, "2026-11-23T19:40:02" in UTC. What is not of that form stays as it is.
[[nodiscard]] std::string dateText(const std::string& serviceDate, const WallClock& clock);

}  // namespace tovri
