#include "screens/downloads/SpeedSwitch.h"

namespace tovri {

SpeedSwitch speedSwitch(const SpeedControl& control) {
    const SpeedControl::State& state = control.state();
    if (!state.isOn) return {"Limit speed", "Limit Speed", false};
    const std::string now = control.text();
    return {state.limit && !state.isHeld ? "Limit " + now : now, "Limit Speed (" + now + ")", true};
}

}  // namespace tovri
