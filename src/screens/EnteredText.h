#pragma once

#include <string>
#include <string_view>

namespace tovri {

// What the user entered, without white space and line breaks at its ends.
[[nodiscard]] inline std::string enteredText(std::string_view text) {
    constexpr std::string_view whiteSpace = " \t\n\v\f\r";
    const std::size_t begin = text.find_first_not_of(whiteSpace);
    if (begin == std::string_view::npos) return {};
    return std::string(text.substr(begin, text.find_last_not_of(whiteSpace) - begin + 1));
}

}  // namespace tovri
