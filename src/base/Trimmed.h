#pragma once

#include <string_view>

namespace tovri {

// The part of the text that is left without white space and line breaks of ASCII at its ends.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text) {
    constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    const std::size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(whiteSpace) - begin + 1);
}

}  // namespace tovri
