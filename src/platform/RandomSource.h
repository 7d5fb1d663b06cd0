#pragma once

#include "base/UUID.h"

namespace tovri {

// Where new identifiers come from. Any thread.
class RandomSource {
public:
    virtual ~RandomSource() = default;
    [[nodiscard]] virtual UUID makeUUID() = 0;
};

}  // namespace tovri
