#pragma once

#include <charconv>
#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// A number by which somebody else names one thing of a kind. It cannot be taken for a count, nor for the name of
// another kind's thing: `using FeedID = Identifier<struct FeedKind>`.
template <class Kind>
struct Identifier {
    std::int64_t number = 0;

    constexpr Identifier() = default;

    constexpr explicit Identifier(std::int64_t theNumber) : number(theNumber) {}

    // Its decimal digits, as they stand in addresses, requests and lines.
    [[nodiscard]] std::string text() const { return std::to_string(number); }

    // Accepts digits alone, so nothing below 0.
    [[nodiscard]] static std::optional<Identifier> parse(std::string_view text) {
        if (text.empty() || text.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
        Identifier id;
        const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), id.number);
        return code == std::errc() ? std::optional(id) : std::nullopt;
    }

    auto operator<=>(const Identifier&) const = default;
};

}  // namespace tovri

template <class Kind>
struct std::hash<tovri::Identifier<Kind>> {
    std::size_t operator()(tovri::Identifier<Kind> id) const noexcept { return std::hash<std::int64_t>{}(id.number); }
};
