#include "base/PlainText.h"

namespace tovri {
namespace {

// The embeddings, overrides, isolates and marks of the bidirectional algorithm (Unicode Standard Annex 9).
bool changesDirection(char32_t character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069) ||
           character == 0x200E || character == 0x200F || character == 0x061C;
}

}  // namespace

CodePoint firstCodePoint(std::string_view bytes) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {};
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[i]);
        if ((next & 0xC0U) != 0x80) return {};
        value = value << 6U | (next & 0x3FU);
    }
    constexpr char32_t smallest[] = {0x80, 0x800, 0x10000};
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    if (value < smallest[length - 2] || isSurrogate || value > 0x10FFFF) return {};
    return {value, length};
}

bool isPlain(char32_t character) {
    const bool isControl = character < 0x20 || (character >= 0x7F && character < 0xA0);
    const bool separatesLines = character == 0x2028 || character == 0x2029;
    return !isControl && !separatesLines && !changesDirection(character);
}

std::string plainLine(std::string_view bytes) {
    return textKeeping(bytes, isPlain);
}

std::string plainLines(std::string_view bytes) {
    return textKeeping(bytes, [](char32_t character) { return character == '\n' || isPlain(character); });
}

}  // namespace tovri
