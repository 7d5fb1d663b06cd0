#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/Identifier.h"
#include "service/records/FileID.h"
#include "service/records/JSONField.h"

namespace tovri {

using FeedID = Identifier<struct FeedKind>;

// A feed that the service polls for the user. Everything but the ID can be edited.
struct RSSFeed {
    FeedID id;
    std::optional<std::string> title;
    std::optional<std::string> rssSourceURL;
    std::optional<std::string> keyword;
    std::optional<FolderID> parentDirID;  // the folder that receives what is found
    std::optional<bool> paused;
    std::optional<bool> dontProcessWholeFeed;
    std::optional<bool> deleteOldFiles;
    std::optional<std::string> lastFetch;
    std::optional<bool> extractEnabled;

    bool operator==(const RSSFeed&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(
            JSONField{"id", &RSSFeed::id}, JSONField{"title", &RSSFeed::title},
            JSONField{"rss_source_url", &RSSFeed::rssSourceURL}, JSONField{"keyword", &RSSFeed::keyword},
            JSONField{"parent_dir_id", &RSSFeed::parentDirID}, JSONField{"paused", &RSSFeed::paused},
            JSONField{"dont_process_whole_feed", &RSSFeed::dontProcessWholeFeed},
            JSONField{"delete_old_files", &RSSFeed::deleteOldFiles}, JSONField{"last_fetch", &RSSFeed::lastFetch},
            JSONField{"extract", &RSSFeed::extractEnabled});
    }
};

// What a feed is made from.
struct NewRSSFeed {
    std::string title;
    std::string rssSourceURL;
    FolderID parentDirID = {};
    std::string keyword = {};
    bool dontProcessWholeFeed = false;
    bool deleteOldFiles = false;
};

// What the service changes of a feed. All of it is sent, so what shall stay is given as it is; only the title may be
// left out.
struct RSSFeedUpdate {
    FeedID id;
    std::optional<std::string> title = std::nullopt;
    std::string keyword = {};
    bool dontProcessWholeFeed = false;
    bool deleteOldFiles = false;
};

struct RSSFeedListResponse {
    std::optional<std::vector<RSSFeed>> feeds;  // none means that there are none
    std::string status;

    bool operator==(const RSSFeedListResponse&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"feeds", &RSSFeedListResponse::feeds},
                             JSONField{"status", &RSSFeedListResponse::status});
    }
};

struct RSSFeedResponse {
    RSSFeed feed;
    std::string status;

    bool operator==(const RSSFeedResponse&) const = default;

    static constexpr auto jsonFields() {
        return jsonFieldList(JSONField{"feed", &RSSFeedResponse::feed}, JSONField{"status", &RSSFeedResponse::status});
    }
};

}  // namespace tovri
