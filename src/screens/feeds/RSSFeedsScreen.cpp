#include "screens/feeds/RSSFeedsScreen.h"

#include <algorithm>
#include <utility>

namespace tovri {

RSSFeedsScreen::RSSFeedsScreen(PutIOAPI& api, RandomSource& random)
    : api_(api),
      random_(random),
      editor_(api, [this] { startLoading(); }),
      followingDialogs_(dialogs_.onChange([this] { changes_.tell({}); })) {}

void RSSFeedsScreen::appear() {
    if (std::exchange(isOnView_, true)) return;
    visit_ = std::stop_source();
    startLoading();
}

void RSSFeedsScreen::disappear() {
    if (!std::exchange(isOnView_, false)) return;
    visit_.request_stop();
    isLoading_ = false;
    error_.reset();
    editor_.close();
    dialogs_.clear();
    show({});
}

// --- What is seen ---

std::optional<Placeholder> RSSFeedsScreen::placeholder() const {
    if (!feeds_.empty()) return std::nullopt;
    if (isLoading_) return progressPlaceholder("Loading RSS feeds...");
    if (error_) return errorPlaceholder(*error_);
    return Placeholder{Placeholder::Kind::message, RSSFeedRow::symbol, "No RSS Feeds",
                       "Add an RSS feed to automatically download new items from torrent feeds.", "Add RSS Feed"};
}

std::vector<ToolbarItem<RSSFeedToolbarAction>> RSSFeedsScreen::toolbar() {
    return {{.action = RSSFeedToolbarAction::add, .title = "Add Feed", .symbol = "plus"}};
}

std::vector<MenuItem<RSSFeedAction>> RSSFeedsScreen::menu(FeedID feedID) const {
    const RSSFeed* feed = find(feedID);
    return feed ? feedMenu(*feed) : std::vector<MenuItem<RSSFeedAction>>();
}

void RSSFeedsScreen::show(std::vector<RSSFeed> feeds) {
    if (feeds == feeds_) return;
    feeds_ = std::move(feeds);
    std::vector<RSSFeedRow> rows;
    rows.reserve(feeds_.size());
    for (const RSSFeed& feed : feeds_) rows.push_back(feedRow(feed));
    rows_.replace(std::move(rows), [this](const ScreenChange& change) { changes_.tell(change); });
    changes_.tell({});
}

// --- Loading ---

void RSSFeedsScreen::startLoading() {
    scope_.start(load(visit_.get_token()));
}

Task<> RSSFeedsScreen::load(std::stop_token visit) {
    if (visit.stop_requested()) co_return;
    const std::uint64_t request = ++lastRequest_;
    isLoading_ = true;
    error_.reset();
    changes_.tell({});
    Result<std::vector<RSSFeed>> listed = co_await api_.listFeeds(visit);
    if (visit.stop_requested()) co_return;
    if (request == lastRequest_) {
        isLoading_ = false;
        if (!listed) error_ = listed.error().description;
    }
    if (listed && request > shownRequest_) {
        shownRequest_ = request;
        show(std::move(*listed));
    }
    changes_.tell({});
}

// --- What the user does ---

void RSSFeedsScreen::openPlaceholder() {
    if (error_)
        startLoading();
    else
        editor_.open(std::nullopt);
}

void RSSFeedsScreen::refresh() {
    if (isOnView_) startLoading();
}

void RSSFeedsScreen::perform(RSSFeedToolbarAction /*action*/) {
    editor_.open(std::nullopt);
}

void RSSFeedsScreen::perform(RSSFeedAction action, FeedID feedID) {
    const RSSFeed* feed = find(feedID);
    if (!feed) return;
    switch (action) {
        case RSSFeedAction::edit:
            editor_.open(*feed);
            break;
        case RSSFeedAction::toggle:
            scope_.start(toggle(feedID, feed->paused.value_or(false), visit_.get_token()));
            break;
        case RSSFeedAction::remove:
            askToDelete(*feed);
            break;
    }
}

const RSSFeed* RSSFeedsScreen::find(FeedID feedID) const {
    const auto found = std::ranges::find(feeds_, feedID, &RSSFeed::id);
    return found == feeds_.end() ? nullptr : &*found;
}

void RSSFeedsScreen::askToDelete(const RSSFeed& feed) {
    dialogs_.ask({random_.makeUUID(), "Delete “" + feedTitle(feed) + "”?",
                  "This permanently removes it from your put.io account and can't be undone.", "Delete Feed",
                  [this, id = feed.id] { return remove(id); }});
}

Task<> RSSFeedsScreen::toggle(FeedID feedID, bool isPaused, std::stop_token visit) {
    Task<Result<void>> request = isPaused ? api_.resumeFeed(feedID, scope_.stopToken())  //
                                          : api_.pauseFeed(feedID, scope_.stopToken());
    const Result<void> done = co_await std::move(request);
    if (!done && !visit.stop_requested()) dialogs_.showFailure(done.error());
    co_await load(visit);
}

Task<Result<void>> RSSFeedsScreen::remove(FeedID feedID) {
    const std::stop_token visit = visit_.get_token();
    Result<void> removed = co_await api_.deleteFeed(feedID, scope_.stopToken());
    if (visit.stop_requested()) co_return Result<void>();  // nobody looks any more
    if (!removed) co_return failure(removed);
    co_await load(visit);
    co_return Result<void>();
}

}  // namespace tovri
