#pragma once

#include <chrono>
#include <string>

#include "base/Error.h"

namespace tovri {

// What the user reads when a connection fails: one sentence with the host's name alone, as the rest of an address may
// hold a secret, that says what to do next.

// `code` is a CURLcode other than CURLE_OK. ErrorCase::transport, or invalidResponse when the answer was not HTTP.
[[nodiscard]] Error transportError(int code, const std::string& host);

[[nodiscard]] Error silenceError(const std::string& host, std::chrono::milliseconds limit);

[[nodiscard]] Error excessError(const std::string& host);

// For an answer that could not be taken in.
[[nodiscard]] Error memoryError(const std::string& host);

// For a connection that this program has no file handle left for.
[[nodiscard]] Error handlesError(const std::string& host);

// One of these two: whichever is lacking now.
[[nodiscard]] Error shortageError(const std::string& host);

// For a connection given up because this machine was asleep.
[[nodiscard]] Error sleepError(const std::string& host);

// For a request that took longer than `limit`, although something came now and then.
[[nodiscard]] Error slownessError(const std::string& host, std::chrono::milliseconds limit);

// For headers or a body beyond all measure; `what` names them.
[[nodiscard]] Error oversizeError(const std::string& host, const std::string& what);

// For a body that is packed in a way that was not asked for.
[[nodiscard]] Error encodingError(const std::string& host);

// For a redirect that would take what was sent to somebody else.
[[nodiscard]] Error leavingError(const std::string& host);

[[nodiscard]] Error redirectLoopError(const std::string& host);

}  // namespace tovri
