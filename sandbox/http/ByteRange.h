#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tovri::sandbox {

struct ByteRange {
    std::uint64_t first = 0;
    std::uint64_t count = 0;

    bool operator==(const ByteRange&) const = default;
};

// What a Range header asks for (RFC 9110, section 14).
struct RangeWish {
    bool isSatisfiable = true;
    std::optional<ByteRange> range;  // none: the whole

    bool operator==(const RangeWish&) const = default;
};

// A header that is malformed, or that asks for several ranges, asks for the whole, as the RFC allows.
RangeWish parseRange(std::string_view header, std::uint64_t size);

}  // namespace tovri::sandbox
