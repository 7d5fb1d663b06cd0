#include "platform/curl/answers/ContentRange.h"

#include <charconv>

#include "platform/curl/answers/HeaderText.h"

namespace tovri {

std::optional<ByteCount> parseByteCount(std::string_view digits) {
    if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
    ByteCount count = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return count;
}

std::optional<ContentRange> parseContentRange(std::string_view value) {
    constexpr std::string_view unit = "bytes ";
    if (value.size() < unit.size() || !equalIgnoringCase(value.substr(0, unit.size()), unit)) return std::nullopt;
    value.remove_prefix(unit.size());

    const std::size_t hyphen = value.find('-');
    const std::size_t slash = value.find('/');
    if (hyphen == std::string_view::npos || slash == std::string_view::npos || hyphen > slash) return std::nullopt;

    const auto first = parseByteCount(value.substr(0, hyphen));
    const auto last = parseByteCount(value.substr(hyphen + 1, slash - hyphen - 1));
    const auto length = parseByteCount(value.substr(slash + 1));
    if (!first || !last || !length || *first > *last || *last >= *length) return std::nullopt;
    return ContentRange{*first, *last, *length};
}

}  // namespace tovri
