#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// A 128-bit identifier (RFC 9562). New ones come from the RandomSource port.
struct UUID {
    std::array<std::uint8_t, 16> bytes{};

    static constexpr std::size_t textLength = 36;

    // 36 characters: upper-case hexadecimal digits and four hyphens.
    [[nodiscard]] std::string text() const;

    // Accepts both cases of the digits; none for anything but the 36-character form.
    [[nodiscard]] static std::optional<UUID> parse(std::string_view text);

    auto operator<=>(const UUID&) const = default;
};

}  // namespace tovri

template <>
struct std::hash<tovri::UUID> {
    std::size_t operator()(const tovri::UUID& id) const noexcept {
        std::size_t value = 0;  // the bytes are random, any eight of them are a good hash
        std::memcpy(&value, id.bytes.data() + 8, sizeof value);
        return value;
    }
};
