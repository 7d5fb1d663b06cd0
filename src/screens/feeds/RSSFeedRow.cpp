#include "screens/feeds/RSSFeedRow.h"

namespace tovri {

std::string feedTitle(const RSSFeed& feed) {
    const std::string title = feed.title.value_or("");
    return title.empty() ? "Untitled" : title;
}

std::vector<Label> feedCaption(const RSSFeed& feed) {
    std::vector<Label> caption;
    if (const std::string keyword = feed.keyword.value_or(""); !keyword.empty())
        caption.push_back({"magnifyingglass", keyword});
    if (feed.deleteOldFiles.value_or(false)) caption.push_back({"trash", "Auto-delete"});
    if (feed.paused.value_or(false)) caption.push_back({"pause.circle.fill", "Paused", Tint::attention});
    if (feed.lastFetch) caption.push_back({"", "Last: " + *feed.lastFetch});
    return caption;
}

RSSFeedRow feedRow(const RSSFeed& feed) {
    return {feed.id, feedTitle(feed), feedCaption(feed)};
}

std::vector<MenuItem<RSSFeedAction>> feedMenu(const RSSFeed& feed) {
    return {{.action = RSSFeedAction::edit, .title = "Edit"},
            {.action = RSSFeedAction::toggle, .title = feed.paused.value_or(false) ? "Resume" : "Pause"},
            {.action = RSSFeedAction::remove, .title = "Delete", .isDestructive = true}};
}

}  // namespace tovri
