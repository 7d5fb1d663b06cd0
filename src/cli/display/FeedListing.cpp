#include "cli/display/FeedListing.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "cli/display/DisplayText.h"
#include "cli/display/RowLayout.h"
#include "service/JSONCoding.h"

namespace tovri::cli {

std::string titleOf(const RSSFeed& feed) {
    return feed.title.value_or("Untitled");
}

std::string detailOf(const RSSFeed& feed) {
    std::vector<std::string> parts;
    if (!feed.keyword.value_or("").empty()) parts.push_back("Keyword: " + *feed.keyword);
    if (feed.deleteOldFiles.value_or(false)) parts.emplace_back("Auto-delete");
    if (feed.paused.value_or(false)) parts.emplace_back("Paused");
    if (feed.lastFetch) parts.push_back("Last: " + *feed.lastFetch);
    return fmt::format("{}", fmt::join(parts, " \xC2\xB7 "));
}

std::vector<std::string> feedLines(const std::vector<RSSFeed>& feeds, std::optional<std::size_t> width) {
    if (feeds.empty()) return {"No RSS Feeds"};
    std::vector<ListedRow> rows;
    rows.reserve(feeds.size());
    for (const RSSFeed& feed : feeds)
        rows.push_back({std::to_string(feed.id), printable(titleOf(feed)), printable(detailOf(feed))});
    return alignedRows(rows, width);
}

std::string feedsJSON(const std::vector<RSSFeed>& feeds) {
    std::string text = R"({"feeds":[)";
    for (const RSSFeed& feed : feeds) text += (text.back() == '[' ? "" : ",") + encodeJSON(feed);
    return text + "]}";
}

}  // namespace tovri::cli
