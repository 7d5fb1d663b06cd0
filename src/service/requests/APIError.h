#pragma once

#include "base/Error.h"

namespace tovri {

// How the service's operations fail, beside the session's transport errors and the decoder's.
struct APIError {
    [[nodiscard]] static Error httpError(int status);
    [[nodiscard]] static Error notAuthenticated();
    [[nodiscard]] static Error invalidURL();
    [[nodiscard]] static Error invalidResponse();
    [[nodiscard]] static Error invalidDownloadURL();
    [[nodiscard]] static Error rateLimited();
};

}  // namespace tovri
