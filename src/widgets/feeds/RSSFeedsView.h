#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

#include "widgets/feeds/RSSFeedRows.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

class ContentArea;
class RowListView;
class Sheet;
class Toolbar;

// The feeds screen: a toolbar and the feeds, or a placeholder. Return and double click edit a feed, Delete asks whether
// to delete it.
class RSSFeedsView final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit RSSFeedsView(RSSFeedsScreen& screen, QWidget* parent = nullptr);
    ~RSSFeedsView() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void arrange();
    void connectParts();
    void follow(const ScreenChange& change);
    void followEditor();
    void showChrome();
    void showMenu(const QPoint& globalPosition);
    void perform(RSSFeedAction action, const QModelIndex& row);

    RSSFeedsScreen& screen_;
    RSSFeedRows rows_;
    RowModel model_;
    Toolbar* toolbar_;
    RowListView* list_;
    ContentArea* content_;
    QPointer<Sheet> editor_;
    Subscription following_;
    Subscription followingEditor_;
};

}  // namespace tovri
