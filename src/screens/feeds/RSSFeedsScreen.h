#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/RandomSource.h"
#include "screens/ActionDialogs.h"
#include "screens/Placeholder.h"
#include "screens/RowList.h"
#include "screens/ScreenChange.h"
#include "screens/ToolbarItem.h"
#include "screens/feeds/RSSFeedEditorSheet.h"
#include "screens/feeds/RSSFeedRow.h"

namespace tovri {

enum class RSSFeedToolbarAction : std::uint8_t { add };

// The feeds that put.io polls for the account. Asks for them when it comes on view and after each change of one; holds
// nothing while it is not on view.
class RSSFeedsScreen {
public:
    // Both outlive the screen.
    RSSFeedsScreen(PutIOAPI& api, RandomSource& random);

    void appear();
    void disappear();

    // --- What is seen ---

    // Instead of the rows. Its button is openPlaceholder().
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    [[nodiscard]] static std::vector<ToolbarItem<RSSFeedToolbarAction>> toolbar();

    // In the service's order.
    [[nodiscard]] const std::vector<RSSFeedRow>& rows() const { return rows_.rows(); }

    // Empty when there is no such feed.
    [[nodiscard]] std::vector<MenuItem<RSSFeedAction>> menu(FeedID feedID) const;

    [[nodiscard]] const ActionDialogs& dialogs() const { return dialogs_; }

    [[nodiscard]] ActionDialogs& dialogs() { return dialogs_; }

    [[nodiscard]] const RSSFeedEditorSheet& editor() const { return editor_; }

    [[nodiscard]] RSSFeedEditorSheet& editor() { return editor_; }

    // The editor tells of its own changes.
    Subscription onChange(std::function<void(const ScreenChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What the user does ---

    void openPlaceholder();

    // Asks for the feeds again.
    void refresh();

    void perform(RSSFeedToolbarAction action);

    // Nothing happens when the feed has left the list.
    void perform(RSSFeedAction action, FeedID feedID);

private:
    [[nodiscard]] const RSSFeed* find(FeedID feedID) const;
    void show(std::vector<RSSFeed> feeds);
    void startLoading();
    void askToDelete(const RSSFeed& feed);

    // `visit` is stopped when the screen goes out of view.
    Task<> load(std::stop_token visit);
    Task<> toggle(FeedID feedID, bool isPaused, std::stop_token visit);
    Task<Result<void>> remove(FeedID feedID);

    PutIOAPI& api_;
    RandomSource& random_;
    std::vector<RSSFeed> feeds_;
    RowList<RSSFeedRow, RSSFeedRowTraits> rows_;
    bool isLoading_ = false;
    std::optional<std::string> error_;
    std::uint64_t lastRequest_ = 0;   // owns `isLoading_` and `error_`
    std::uint64_t shownRequest_ = 0;  // an answer to an older one is out of date
    bool isOnView_ = false;
    std::stop_source visit_;
    RSSFeedEditorSheet editor_;
    Signal<const ScreenChange&> changes_;
    ActionDialogs dialogs_{scope_};
    Subscription followingDialogs_;
    TaskScope scope_;
};

}  // namespace tovri
