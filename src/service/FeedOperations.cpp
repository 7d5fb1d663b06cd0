// The operations of PutIOAPI on the RSS feeds that the service polls for the account.

#include "service/PutIOAPI.h"

namespace tovri {
namespace {

const char* textOf(bool value) {
    return value ? "true" : "false";
}

PutIOAPI::Parameters onlyID(FeedID feedID) {
    return {{"id", feedID.text()}};
}

}  // namespace

Task<Result<std::vector<RSSFeed>>> PutIOAPI::listFeeds(std::stop_token stop) {
    Result<RSSFeedListResponse> list = co_await get<RSSFeedListResponse>("/rss/list", {}, std::move(stop));
    if (!list) co_return failure(list);
    co_return std::move(list->feeds).value_or(std::vector<RSSFeed>());
}

Task<Result<RSSFeed>> PutIOAPI::createFeed(NewRSSFeed feed, std::stop_token stop) {
    Parameters parameters{{"title", std::move(feed.title)},
                          {"rss_source_url", std::move(feed.rssSourceURL)},
                          {"parent_dir_id", feed.parentDirID.text()}};
    if (!feed.keyword.empty()) parameters["keyword"] = std::move(feed.keyword);
    if (feed.dontProcessWholeFeed) parameters["dont_process_whole_feed"] = "true";
    if (feed.deleteOldFiles) parameters["delete_old_files"] = "true";
    Result<RSSFeedResponse> created =
        co_await post<RSSFeedResponse>("/rss/create", std::move(parameters), std::move(stop));
    if (!created) co_return failure(created);
    co_return std::move(created->feed);
}

Task<Result<void>> PutIOAPI::updateFeed(RSSFeedUpdate update, std::stop_token stop) {
    Parameters parameters{{"id", update.id.text()},
                          {"keyword", std::move(update.keyword)},
                          {"dont_process_whole_feed", textOf(update.dontProcessWholeFeed)},
                          {"delete_old_files", textOf(update.deleteOldFiles)}};
    if (update.title) parameters["title"] = std::move(*update.title);
    return command("/rss/update", std::move(parameters), std::move(stop));
}

Task<Result<void>> PutIOAPI::deleteFeed(FeedID feedID, std::stop_token stop) {
    return command("/rss/delete", onlyID(feedID), std::move(stop));
}

Task<Result<void>> PutIOAPI::pauseFeed(FeedID feedID, std::stop_token stop) {
    return command("/rss/pause", onlyID(feedID), std::move(stop));
}

Task<Result<void>> PutIOAPI::resumeFeed(FeedID feedID, std::stop_token stop) {
    return command("/rss/resume", onlyID(feedID), std::move(stop));
}

}  // namespace tovri
