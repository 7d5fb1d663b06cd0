#include "downloads/partials/TextLines.h"

#include <algorithm>
#include <charconv>
#include <ranges>

namespace tovri {

std::optional<std::vector<std::string_view>> splitLines(std::string_view text) {
    if (!text.ends_with('\n')) return std::nullopt;
    text.remove_suffix(1);
    std::vector<std::string_view> lines;
    for (const auto line : std::views::split(text, '\n')) lines.emplace_back(line.begin(), line.end());
    return lines;
}

bool isPlainText(std::string_view text) {
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; };
    return std::ranges::none_of(text, isControl);
}

std::optional<ByteCount> parseCount(std::string_view digits) {
    if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
    ByteCount count = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return count;
}

}  // namespace tovri
