#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "base/RetryHints.h"

namespace tovri {

// No server is waited for any longer because it says so.
inline constexpr std::chrono::seconds longestRetryAfter{3600};

// How long the answer asks to be left alone: what Retry-After says, and, of an answer that refuses because there were
// too many requests, X-RateLimit-Reset. At most `longestRetryAfter`, at least 0; none where it says nothing that can be
// understood. A date counts from the answer's own Date, as this computer's clock may be wrong.
enum class Refusal { tooManyRequests, other };
[[nodiscard]] std::optional<std::chrono::seconds> retryAfter(const RetryHints& hints, Refusal refusal);

// Any of the three forms of RFC 9110, section 5.6.7.
[[nodiscard]] std::optional<std::chrono::sys_seconds> parseHTTPDate(std::string_view text);

}  // namespace tovri
