#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// Reads a rate as it is typed: a whole number of bytes a second, in units of 1024 with K, of 1024 K with M and of
// 1024 M with G, in upper or lower case: "500", "64K", "2M". None for anything else, or for more than 63 bits hold.
[[nodiscard]] std::optional<BytesPerSecond> parseRate(std::string_view text);

// The shortest text that parseRate reads as the same.
[[nodiscard]] std::string textOf(BytesPerSecond rate);

}  // namespace tovri
