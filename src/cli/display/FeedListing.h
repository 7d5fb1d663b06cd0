#pragma once

#include <optional>
#include <string>
#include <vector>

#include "service/RSSFeed.h"

namespace tovri::cli {

// Its title, or what stands for a missing one. Not yet printable.
[[nodiscard]] std::string titleOf(const RSSFeed& feed);

// What applies to the feed: its keyword, whether it deletes and whether it is paused, when it was fetched last.
[[nodiscard]] std::string detailOf(const RSSFeed& feed);

// All feeds as lines of text. With a width they fit a terminal that wide.
[[nodiscard]] std::vector<std::string> feedLines(const std::vector<RSSFeed>& feeds, std::optional<std::size_t> width);

// The same as one JSON document on one line.
[[nodiscard]] std::string feedsJSON(const std::vector<RSSFeed>& feeds);

}  // namespace tovri::cli
