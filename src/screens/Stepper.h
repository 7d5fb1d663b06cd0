#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

namespace tovri {

// A whole number that goes up and down by one within bounds. One that was stored beyond them is shown as it is, and
// back within them at the first step.
struct Stepper {
    struct Bounds {
        std::int64_t least = 0;
        std::int64_t most = 0;

        [[nodiscard]] constexpr std::int64_t clamped(std::int64_t wanted) const {
            return std::clamp(wanted, least, most);
        }
    };

    std::string label;
    std::string value;  // as it stands beside the label, or empty
    std::int64_t number = 0;
    Bounds bounds;

    [[nodiscard]] bool canStepUp() const { return number < bounds.most; }

    [[nodiscard]] bool canStepDown() const { return number > bounds.least; }
};

}  // namespace tovri
