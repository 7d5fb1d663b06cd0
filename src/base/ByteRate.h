#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// How fast bytes move.
struct ByteRate {
    ByteCount bytesPerSecond = 0;

    auto operator<=>(const ByteRate&) const = default;
};

// Reads a rate as it is typed: a whole number of bytes a second, in units of 1024 with K, of 1024 K with M and of
// 1024 M with G, in upper or lower case: "500", "64K", "2M". None for anything else, or for more than 63 bits hold.
[[nodiscard]] std::optional<ByteRate> parseByteRate(std::string_view text);

// The shortest text that parseByteRate reads as the same.
[[nodiscard]] std::string textOf(ByteRate rate);

// As people read it: "2.1 MB/s".
[[nodiscard]] std::string formatByteRate(ByteRate rate);

}  // namespace tovri
