#pragma once

#include <algorithm>
#include <string_view>

namespace tovri {

// Header names and tokens compare without regard to the case of their ASCII letters.
[[nodiscard]] inline bool equalIgnoringCase(std::string_view left, std::string_view right) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::ranges::equal(left, right, {}, lower, lower);
}

}  // namespace tovri
