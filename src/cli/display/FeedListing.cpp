#include "cli/display/FeedListing.h"

#include "cli/display/DisplayText.h"
#include "cli/display/LabelText.h"
#include "cli/display/RowLayout.h"
#include "screens/feeds/RSSFeedRow.h"
#include "service/records/JSONCoding.h"

namespace tovri::cli {

std::vector<std::string> feedLines(const std::vector<RSSFeed>& feeds, std::optional<std::size_t> width) {
    if (feeds.empty()) return {"No RSS Feeds"};
    std::vector<ListedRow> rows;
    rows.reserve(feeds.size());
    for (const RSSFeed& feed : feeds)
        rows.push_back({feed.id.text(), printable(feedTitle(feed)), printable(joined(feedCaption(feed)))});
    return alignedRows(rows, width);
}

std::string feedsJSON(const std::vector<RSSFeed>& feeds) {
    std::string text = R"({"feeds":[)";
    for (const RSSFeed& feed : feeds) text += (text.back() == '[' ? "" : ",") + escapedJSON(encodeJSON(feed));
    return text + "]}";
}

}  // namespace tovri::cli
