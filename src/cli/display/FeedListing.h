#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/records/RSSFeed.h"

namespace tovri::cli {

// All feeds as lines of text. With a width they fit a terminal that wide.
[[nodiscard]] std::vector<std::string> feedLines(const std::vector<RSSFeed>& feeds, std::optional<std::size_t> width);

// The same as one JSON document on one line.
[[nodiscard]] std::string feedsJSON(const std::vector<RSSFeed>& feeds);

}  // namespace tovri::cli
