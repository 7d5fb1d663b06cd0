#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

using ByteCount = std::int64_t;  // a size, an offset or a rate in bytes
using ByteBlob = std::string;    // opaque bytes, not text

// Standard base64 with padding (RFC 4648, section 4).
[[nodiscard]] std::string base64Encoded(std::string_view bytes);

// None for anything but well-formed base64 with its padding.
[[nodiscard]] std::optional<ByteBlob> base64Decoded(std::string_view text);

}  // namespace tovri
