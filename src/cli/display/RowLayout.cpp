#include "cli/display/RowLayout.h"

#include <algorithm>

#include "cli/display/DisplayText.h"

namespace tovri::cli {
namespace {

constexpr std::size_t gap = 2;

struct Columns {
    std::size_t id = 0;
    std::size_t title = 0;
    std::size_t detail = 0;
};

Columns widest(const std::vector<ListedRow>& rows) {
    Columns columns;
    for (const ListedRow& row : rows) {
        columns.id = std::max(columns.id, columnsOf(row.id));
        columns.title = std::max(columns.title, columnsOf(row.title));
        columns.detail = std::max(columns.detail, columnsOf(row.detail));
    }
    return columns;
}

std::size_t without(std::size_t columns, std::size_t taken) {
    return columns > taken ? columns - taken : 0;
}

// The last column stays free: some terminals break the line when it is filled.
Columns fitting(Columns columns, std::size_t width) {
    const std::size_t usable = without(width, 1 + columns.id + 2 * gap);
    columns.title = std::min(columns.title, std::max(without(usable, columns.detail), usable / 3));
    columns.detail = std::min(columns.detail, without(usable, columns.title));
    return columns;
}

}  // namespace

std::vector<std::string> alignedRows(const std::vector<ListedRow>& rows, std::optional<std::size_t> width) {
    Columns columns = widest(rows);
    if (width) columns = fitting(columns, *width);
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const ListedRow& row : rows) {
        std::string line = rightAligned(row.id, columns.id) + std::string(gap, ' ');
        if (row.detail.empty())
            line += shortened(row.title, columns.title);
        else
            line +=
                leftAligned(row.title, columns.title) + std::string(gap, ' ') + shortened(row.detail, columns.detail);
        lines.push_back(std::move(line));
    }
    return lines;
}

}  // namespace tovri::cli
