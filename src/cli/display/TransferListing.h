#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/records/Transfer.h"

namespace tovri::cli {

// All transfers as lines of text: what there is of each kind, then a section for each group, at the end one for those
// whose status is of no group. With a width, of 20 columns or more, they fit such a terminal.
[[nodiscard]] std::vector<std::string> transferLines(const std::vector<Transfer>& transfers,
                                                     std::optional<std::size_t> width);

// The same as one JSON document on one line.
[[nodiscard]] std::string transfersJSON(const std::vector<Transfer>& transfers);

}  // namespace tovri::cli
