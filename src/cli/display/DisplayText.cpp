#include "cli/display/DisplayText.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>
#include <locale.h>
#include <wchar.h>

#include "base/PlainText.h"

namespace tovri::cli {
namespace {

constexpr std::string_view ellipsis = "\xE2\x80\xA6";

// -1 for what is no character. Independent of the user's locale, which may know nothing but ASCII.
int widthOf(char32_t character) {
    static const locale_t unicode = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (!unicode) return character < 0x20 || (character >= 0x7F && character < 0xA0) ? -1 : 1;
    const locale_t before = ::uselocale(unicode);
    const int width = ::wcwidth(static_cast<wchar_t>(character));
    ::uselocale(before);
    return width;
}

bool isPrintable(char32_t character) {
    return isPlain(character) && widthOf(character) >= 0;
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
    return textKeeping(bytes, isPrintable);
}

std::string unicodeText(std::string_view bytes) {
    return textKeeping(bytes, [](char32_t) { return true; });
}

// None of the characters that are not plain lies beyond the Basic Multilingual Plane, so four digits do.
std::string escapedJSON(std::string_view json) {
    std::string text;
    text.reserve(json.size());
    while (!json.empty()) {
        const CodePoint point = firstCodePoint(json);
        const std::size_t length = std::max<std::size_t>(point.length, 1);
        if (point.length == 0 || isPlain(point.value))
            text += json.substr(0, length);
        else
            text += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(point.value));
        json.remove_prefix(length);
    }
    return text;
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
