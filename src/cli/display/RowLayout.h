#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tovri::cli {

// One thing of a list. All parts are printable.
struct ListedRow {
    std::string id;
    std::string title;
    std::string detail;
};

// A line for each row, with the parts below each other. Each fits a terminal of `width` columns: the titles give way
// first, down to a third. Without a width nothing is shortened.
[[nodiscard]] std::vector<std::string> alignedRows(const std::vector<ListedRow>& rows,
                                                   std::optional<std::size_t> width);

}  // namespace tovri::cli
