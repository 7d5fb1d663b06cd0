#pragma once

#include <string>

namespace tovri {

// What an answer says about when to ask again: the values of its headers as they came, unchecked; empty where it says
// nothing.
struct RetryHints {
    std::string retryAfter;      // Retry-After: seconds or a date (RFC 9110, section 10.2.3)
    std::string date;            // Date: the other side's clock, which a date in `retryAfter` is measured against
    std::string rateLimitReset;  // X-RateLimit-Reset
};

}  // namespace tovri
