#pragma once

#include "widgets/feeds/RSSFeedRows.h"
#include "widgets/parts/SectionView.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

class RowListView;

// The feeds screen: a toolbar and the feeds, or a placeholder. Return and double click edit a feed, Delete asks whether
// to delete it.
class RSSFeedsView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit RSSFeedsView(RSSFeedsScreen& screen, QWidget* parent = nullptr);

    [[nodiscard]] bool can(SectionCommand command) const override {
        return command == SectionCommand::refresh || SectionView::can(command);
    }

    void perform(SectionCommand command) override {
        command == SectionCommand::refresh ? screen_.refresh() : SectionView::perform(command);
    }

protected:
    void appear() override { screen_.appear(); }

    void disappear() override { screen_.disappear(); }

    void pressToolbar(int action) override { screen_.perform(static_cast<RSSFeedToolbarAction>(action)); }

    void pressPlaceholder() override { screen_.openPlaceholder(); }

    void pressDelete() override;

private:
    void connectList();
    void follow(const ScreenChange& change);
    void followEditor();
    void showChrome();
    void showMenu(const QPoint& globalPosition);
    void perform(RSSFeedAction action, const QModelIndex& row);

    RSSFeedsScreen& screen_;
    RSSFeedRows rows_;
    RowModel model_;
    RowListView* list_;
    Subscription following_;
    Subscription followingEditor_;
};

}  // namespace tovri
