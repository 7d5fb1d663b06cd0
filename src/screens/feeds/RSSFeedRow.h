#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "screens/Label.h"
#include "screens/MenuItem.h"
#include "service/records/RSSFeed.h"

namespace tovri {

enum class RSSFeedAction : std::uint8_t { edit, toggle, remove };

// What a row of the feeds screen shows.
struct RSSFeedRow {
    static constexpr std::string_view symbol = "dot.radiowaves.up.forward";

    FeedID id;
    std::string title;
    std::vector<Label> caption;  // what applies to the feed

    bool operator==(const RSSFeedRow&) const = default;
};

// Its title, or what stands for a missing one.
[[nodiscard]] std::string feedTitle(const RSSFeed& feed);

// Its keyword, whether it deletes, whether it is paused, when it was fetched last; each only when it applies.
[[nodiscard]] std::vector<Label> feedCaption(const RSSFeed& feed);

[[nodiscard]] RSSFeedRow feedRow(const RSSFeed& feed);

[[nodiscard]] std::vector<MenuItem<RSSFeedAction>> feedMenu(const RSSFeed& feed);

// What makes a row the same one in another list.
struct RSSFeedRowTraits {
    static FeedID key(const RSSFeedRow& row) { return row.id; }

    static bool isSame(const RSSFeedRow& left, const RSSFeedRow& right) { return left == right; }
};

}  // namespace tovri
