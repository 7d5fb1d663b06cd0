#include "sandbox/http/ByteRange.h"

#include <algorithm>
#include <charconv>

namespace tovri::sandbox {
namespace {

std::optional<std::uint64_t> parsePosition(std::string_view text) {
    std::uint64_t position = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), position);
    if (parsed.ec != std::errc{} || parsed.ptr != text.data() + text.size()) return std::nullopt;
    return position;
}

RangeWish lastBytes(std::optional<std::uint64_t> wanted, std::uint64_t size) {
    if (!wanted) return {};
    if (*wanted == 0 || size == 0) return {.isSatisfiable = false, .range = {}};
    const std::uint64_t count = std::min(*wanted, size);
    return {.range = ByteRange{size - count, count}};
}

}  // namespace

RangeWish parseRange(std::string_view header, std::uint64_t size) {
    constexpr std::string_view unit = "bytes=";
    const std::size_t dash = header.find('-');
    if (!header.starts_with(unit) || dash == std::string_view::npos) return {};
    const std::string_view firstText = header.substr(unit.size(), dash - unit.size());
    const std::string_view lastText = header.substr(dash + 1);
    if (firstText.empty()) return lastBytes(parsePosition(lastText), size);

    const std::optional<std::uint64_t> first = parsePosition(firstText);
    const std::optional<std::uint64_t> last = lastText.empty() ? UINT64_MAX : parsePosition(lastText);
    if (!first || !last || *last < *first) return {};
    if (*first >= size) return {.isSatisfiable = false, .range = {}};
    return {.range = ByteRange{*first, std::min(*last, size - 1) - *first + 1}};
}

}  // namespace tovri::sandbox
