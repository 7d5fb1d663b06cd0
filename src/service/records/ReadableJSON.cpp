#include "service/records/ReadableJSON.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <system_error>

namespace tovri {
namespace {

constexpr std::size_t escapeLength = 6;  // "\\u1234"

// The code unit of an escape at the beginning of the text.
std::optional<unsigned> escapedUnit(std::string_view text) {
    if (text.size() < escapeLength || !text.starts_with("\\u")) return std::nullopt;
    unsigned unit = 0;
    const char* const end = text.data() + escapeLength;
    const auto read = std::from_chars(text.data() + 2, end, unit, 16);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return unit;
}

bool isHigh(unsigned unit) {
    return unit >= 0xD800 && unit < 0xDC00;
}

bool isLow(unsigned unit) {
    return unit >= 0xDC00 && unit < 0xE000;
}

// Copies what stands behind a backslash; how much of the text that was.
std::size_t copyEscape(std::string_view text, std::string& to) {
    const std::optional<unsigned> unit = escapedUnit(text);
    if (!unit) {
        to += text.substr(0, 2);
        return std::min<std::size_t>(text.size(), 2);
    }
    const std::optional<unsigned> second = escapedUnit(text.substr(escapeLength));
    if (isHigh(*unit) && second && isLow(*second)) {
        to += text.substr(0, 2 * escapeLength);
        return 2 * escapeLength;
    }
    if (isHigh(*unit) || isLow(*unit))
        to += "\\uFFFD";
    else
        to += text.substr(0, escapeLength);
    return escapeLength;
}

// A string from behind its opening quote to behind its closing one.
std::size_t copyString(std::string_view text, std::string& to) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (text[at] == '\\') {
            at += copyEscape(text.substr(at), to);
            continue;
        }
        to += text[at++];
        if (to.back() == '"') break;
    }
    return at;
}

template <class Number>
bool isBeyond(std::string_view digits) {
    Number number{};
    return std::from_chars(digits.data(), digits.data() + digits.size(), number).ec == std::errc::result_out_of_range;
}

std::string readableNumber(std::string_view digits) {
    if (isBeyond<double>(digits) && !digits.contains("e-") && !digits.contains("E-")) return "{}";
    const bool isWhole = digits.find_first_of(".eE") == std::string_view::npos;
    const bool isNegative = digits.starts_with('-');
    const bool isTooLong = isNegative ? isBeyond<std::int64_t>(digits) : isBeyond<std::uint64_t>(digits);
    return std::string(digits) + (isWhole && isTooLong ? ".0" : "");
}

}  // namespace

std::string readableJSON(std::string_view text) {
    std::string readable;
    readable.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const char c = text[at];
        if (c == '"') {
            readable += c;
            at += 1 + copyString(text.substr(at + 1), readable);
        } else if (c == '-' || (c >= '0' && c <= '9')) {
            const std::size_t end = std::min(text.find_first_not_of("+-.0123456789eE", at), text.size());
            readable += readableNumber(text.substr(at, end - at));
            at = end;
        } else {
            readable += c;
            ++at;
        }
    }
    return readable;
}

}  // namespace tovri
