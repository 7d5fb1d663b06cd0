#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace tovri {

// The code point at the start of bytes, and how many of them it takes; `length` 0 when they are no UTF-8 (RFC 3629).
struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};

// `bytes` is not empty.
[[nodiscard]] CodePoint firstCodePoint(std::string_view bytes);

// Whether the character only stands there: it is no control character (also of the second set, DEL or a line
// separator), and does not reverse the writing direction of what follows it.
[[nodiscard]] bool isPlain(char32_t character);

// In place of what is not plain.
inline constexpr std::string_view replacementCharacter = "\xEF\xBF\xBD";

// Any bytes as one line of UTF-8 that commands no terminal: each character that is not plain, and each byte that
// belongs to none, is replaced by U+FFFD.
[[nodiscard]] std::string plainLine(std::string_view bytes);

// The same of several lines.
[[nodiscard]] std::string plainLines(std::string_view bytes);

// The characters for which `isKept` holds; all others, and bytes that are no text, are replaced.
template <class IsKept>
[[nodiscard]] std::string textKeeping(std::string_view bytes, IsKept isKept) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const CodePoint point = firstCodePoint(bytes);
        const std::size_t length = std::max<std::size_t>(point.length, 1);
        text += point.length > 0 && isKept(point.value) ? bytes.substr(0, length) : replacementCharacter;
        bytes.remove_prefix(length);
    }
    return text;
}

}  // namespace tovri
