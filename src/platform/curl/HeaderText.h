#pragma once

#include <algorithm>
#include <string_view>

namespace tovri {

// Header names and tokens compare without regard to the case of their ASCII letters.
[[nodiscard]] inline bool equalIgnoringCase(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

// Without blanks, tabs and line ends at both sides.
[[nodiscard]] inline std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

}  // namespace tovri
