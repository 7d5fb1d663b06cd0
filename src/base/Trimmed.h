#pragma once

#include <algorithm>
#include <array>
#include <string_view>

namespace tovri {

// What Unicode calls white space and line ends (White_Space of the Unicode Character Database, version 15), in UTF-8.
inline constexpr std::array whiteSpaces = {
    std::string_view(" "),
    std::string_view("\t"),
    std::string_view("\n"),
    std::string_view("\v"),
    std::string_view("\f"),
    std::string_view("\r"),
    std::string_view("\xC2\x85"),
    std::string_view("\xC2\xA0"),
    std::string_view("\xE1\x9A\x80"),
    std::string_view("\xE2\x80\x80"),
    std::string_view("\xE2\x80\x81"),
    std::string_view("\xE2\x80\x82"),
    std::string_view("\xE2\x80\x83"),
    std::string_view("\xE2\x80\x84"),
    std::string_view("\xE2\x80\x85"),
    std::string_view("\xE2\x80\x86"),
    std::string_view("\xE2\x80\x87"),
    std::string_view("\xE2\x80\x88"),
    std::string_view("\xE2\x80\x89"),
    std::string_view("\xE2\x80\x8A"),
    std::string_view("\xE2\x80\xA8"),
    std::string_view("\xE2\x80\xA9"),
    std::string_view("\xE2\x80\xAF"),
    std::string_view("\xE2\x81\x9F"),
    std::string_view("\xE3\x80\x80"),
};

// The part of the text that is left without white space and line breaks at its ends.
[[nodiscard]] constexpr std::string_view trimmed(std::string_view text) {
    const auto* const end = whiteSpaces.end();
    const auto first = [&] {
        return std::find_if(whiteSpaces.begin(), end, [&](auto each) { return text.starts_with(each); });
    };
    const auto last = [&] {
        return std::find_if(whiteSpaces.begin(), end, [&](auto each) { return text.ends_with(each); });
    };
    for (const auto* space = first(); space != end; space = first()) text.remove_prefix(space->size());
    for (const auto* space = last(); space != end; space = last()) text.remove_suffix(space->size());
    return text;
}

}  // namespace tovri
