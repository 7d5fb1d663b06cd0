#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "base/Bytes.h"

// What the small texts have in common that say how to go on: lines, of numbers and of what ends up in requests.
namespace tovri {

// What stands between line breaks; none when the last line has no end.
[[nodiscard]] std::optional<std::vector<std::string_view>> splitLines(std::string_view text);

// Whether a line holds no control character: links and validators end up in a request, where a line break would start
// a header of its own.
[[nodiscard]] bool isPlainText(std::string_view text);

// Digits alone; none for anything else, and for more than a ByteCount holds.
[[nodiscard]] std::optional<ByteCount> parseCount(std::string_view digits);

}  // namespace tovri
