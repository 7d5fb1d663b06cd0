#pragma once

#include <optional>
#include <string_view>

#include "base/Bytes.h"
#include "platform/TransferSession.h"

namespace tovri {

// Reads the value of a Content-Range header (RFC 9110, section 14.4). None unless all three numbers are given and fit
// together.
[[nodiscard]] std::optional<ContentRange> parseContentRange(std::string_view value);

// A number of decimal digits alone; none when it is empty, carries a sign or blanks, or exceeds 63 bits.
[[nodiscard]] std::optional<ByteCount> parseByteCount(std::string_view digits);

}  // namespace tovri
