#pragma once

#include "platform/RandomSource.h"

namespace tovri {

// Version 4 UUIDs from the kernel's random numbers.
class SystemRandom final : public RandomSource {
public:
    [[nodiscard]] UUID makeUUID() override;
};

}  // namespace tovri
