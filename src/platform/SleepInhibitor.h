#pragma once

#include <string>

#include "base/Subscription.h"

namespace tovri {

// Keeps the machine from falling asleep by itself; the screen may go dark.
class SleepInhibitor {
public:
    virtual ~SleepInhibitor() = default;

    // As long as the subscription stands. The reason is shown to whoever asks why the machine does not sleep. Where
    // nothing can be asked for, nothing happens.
    virtual Subscription keepAwake(const std::string& reason) = 0;
};

}  // namespace tovri
