#pragma once

#include "base/Error.h"

namespace tovri {

// How signing in fails, beside what the web session reports.
struct AuthError {
    [[nodiscard]] static Error noClientID();
    [[nodiscard]] static Error invalidURL();
    [[nodiscard]] static Error noCallback();
    [[nodiscard]] static Error noToken();
};

}  // namespace tovri
