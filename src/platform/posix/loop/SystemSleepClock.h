#pragma once

#include "platform/SleepClock.h"

namespace tovri {

class SystemSleepClock final : public SleepClock {
public:
    [[nodiscard]] std::chrono::nanoseconds timeAsleep() const override;
};

}  // namespace tovri
