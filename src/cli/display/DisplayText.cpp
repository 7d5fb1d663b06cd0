#include "cli/display/DisplayText.h"

#include <algorithm>
#include <vector>

#include <locale.h>
#include <wchar.h>

namespace tovri::cli {
namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";
constexpr std::string_view ellipsis = "\xE2\x80\xA6";

// The code point at the start of the bytes and how many bytes it takes; `length` 0 when they are no UTF-8 (RFC 3629).
struct CodePoint {
    char32_t value = 0;
    std::size_t length = 0;
};

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

// -1 for what is no character. Independent of the user's locale, which may know nothing but ASCII.
int widthOf(char32_t character) {
    static const locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (!unicode) return character < 0x20 || (character >= 0x7F && character < 0xA0) ? -1 : 1;
    const locale_t before = ::uselocale(unicode);
    const int width = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(before);
    return width;
}

// The embeddings, overrides and isolates of the bidirectional algorithm (Unicode Standard Annex 9).
bool changesDirection(char32_t character) {
    return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069) ||
           character == 0x200E || character == 0x200F || character == 0x061C;
}

bool isPrintable(char32_t character) {
    return widthOf(character) >= 0 && character != 0 && !changesDirection(character);
}

// The characters for which `isKept` holds; all others are replaced.
template <class IsKept>
std::string keeping(std::string_view bytes, IsKept isKept) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const CodePoint point = firstCodePoint(bytes);
        const std::size_t length = std::max<std::size_t>(point.length, 1);
        text += point.length > 0 && isKept(point.value) ? bytes.substr(0, length) : replacement;
        bytes.remove_prefix(length);
    }
    return text;
}

// A character with the combining marks behind it.
struct Cell {
    std::string_view text;
    std::size_t columns;
};

std::vector<Cell> cellsOf(std::string_view text) {
    std::vector<Cell> cells;
    while (!text.empty()) {
        const CodePoint point = firstCodePoint(text);
        const std::size_t length = std::max<std::size_t>(point.length, 1);
        const auto columns = static_cast<std::size_t>(std::max(point.length == 0 ? 1 : widthOf(point.value), 0));
        if (columns == 0 && !cells.empty())
            cells.back().text = {cells.back().text.data(), cells.back().text.size() + length};
        else
            cells.push_back({text.substr(0, length), columns});
        text.remove_prefix(length);
    }
    return cells;
}

// As many cells as fit.
template <class Iterator>
Iterator fitting(Iterator begin, Iterator end, std::size_t columns) {
    for (; begin != end && begin->columns <= columns; ++begin) columns -= begin->columns;
    return begin;
}

}  // namespace

std::string printable(std::string_view bytes) {
    return keeping(bytes, isPrintable);
}

std::string unicodeText(std::string_view bytes) {
    return keeping(bytes, [](char32_t) { return true; });
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    for (const Cell& cell : cellsOf(text)) columns += cell.columns;
    return columns;
}

std::string shortened(std::string_view text, std::size_t columns) {
    if (columnsOf(text) <= columns) return std::string(text);
    if (columns == 0) return {};
    const std::vector<Cell> cells = cellsOf(text);
    const std::size_t tailColumns = (columns - 1) / 3;
    const auto tail = fitting(cells.rbegin(), cells.rend(), tailColumns);
    std::size_t tailWidth = 0;
    for (auto cell = cells.rbegin(); cell != tail; ++cell) tailWidth += cell->columns;
    const auto head = fitting(cells.begin(), cells.end(), columns - 1 - tailWidth);

    std::string result;
    for (auto cell = cells.begin(); cell != head; ++cell) result += cell->text;
    result += ellipsis;
    for (auto cell = tail.base(); cell != cells.end(); ++cell) result += cell->text;
    return result;
}

std::string leftAligned(std::string_view text, std::size_t columns) {
    std::string result = shortened(text, columns);
    result.append(columns - columnsOf(result), ' ');
    return result;
}

std::string rightAligned(std::string_view text, std::size_t columns) {
    const std::string result = shortened(text, columns);
    return std::string(columns - columnsOf(result), ' ') + result;
}

}  // namespace tovri::cli
