#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

using ByteCount = std::int64_t;  // a size or an offset in bytes
using ByteBlob = std::string;    // opaque bytes, not text

// How fast bytes come or go.
struct BytesPerSecond {
    std::int64_t count = 0;

    constexpr BytesPerSecond() = default;

    constexpr explicit BytesPerSecond(std::int64_t theCount) : count(theCount) {}

    constexpr BytesPerSecond operator+(BytesPerSecond other) const { return BytesPerSecond(count + other.count); }

    auto operator<=>(const BytesPerSecond&) const = default;
};

// So many bytes in such a time, rounded towards none; none at all in no time.
[[nodiscard]] BytesPerSecond rateOf(ByteCount bytes, std::chrono::duration<double> time);

// How long so many bytes take; the rate is above none.
[[nodiscard]] std::chrono::duration<double> timeFor(ByteCount bytes, BytesPerSecond rate);

// Standard base64 with padding (RFC 4648, section 4).
[[nodiscard]] std::string base64Encoded(std::string_view bytes);

// None for anything but well-formed base64 with its padding.
[[nodiscard]] std::optional<ByteBlob> base64Decoded(std::string_view text);

}  // namespace tovri
