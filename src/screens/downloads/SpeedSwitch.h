#pragma once

#include <string>

#include "limits/SpeedControl.h"

namespace tovri {

// The switch of the speed limit, which the summary line and the tray's menu have.
struct SpeedSwitch {
    std::string text;   // beside it: "Limit speed", or what counts now: "Limit 5 MB/s until 18:00"
    std::string title;  // as a menu's line: "Limit Speed", "Limit Speed (5 MB/s until 18:00)"
    bool isOn = false;

    static constexpr const char* help = "Keep all transfers together to the limit and the timetable of the settings";

    bool operator==(const SpeedSwitch&) const = default;
};

[[nodiscard]] SpeedSwitch speedSwitch(const SpeedControl& control);

}  // namespace tovri
