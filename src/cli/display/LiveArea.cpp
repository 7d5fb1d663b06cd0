#include "cli/display/LiveArea.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"

namespace tovri::cli {
namespace {

// Without the colours, which take no columns.
std::size_t visibleColumns(std::string_view line) {
    std::string text;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\x1b')
            i = std::min(line.find('m', i), line.size());
        else
            text += line[i];
    }
    return columnsOf(text);
}

}  // namespace

std::string LiveArea::replace(std::vector<std::string> lines, std::size_t columns) {
    std::string text = toTop(columns);
    lines_ = std::move(lines);
    return text + drawn() + "\x1b[J";
}

std::string LiveArea::insertAbove(std::string_view text, std::size_t columns) {
    if (isEmpty()) return std::string(text);
    return toTop(columns) + "\x1b[J" + std::string(text) + drawn();
}

// A terminal that has become narrower since has broken the lines anew.
std::string LiveArea::toTop(std::size_t columns) const {
    std::size_t rows = 0;
    for (const std::string& line : lines_)
        rows += std::max<std::size_t>(1, (visibleColumns(line) + columns - 1) / std::max<std::size_t>(columns, 1));
    return rows == 0 ? "" : fmt::format("\x1b[{}A\r", rows);
}

std::string LiveArea::drawn() const {
    std::string text;
    for (const std::string& line : lines_) text += line + "\x1b[K\n";
    return text;
}

}  // namespace tovri::cli
