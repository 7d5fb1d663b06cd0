#include "widgets/feeds/RSSFeedsView.h"

#include "screens/window/SidebarItem.h"
#include "widgets/feeds/RSSFeedEditor.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/DialogPresenter.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

RSSFeedsView::RSSFeedsView(RSSFeedsScreen& screen, QWidget* parent)
    : SectionView(textOf(title(SidebarItem::rss)), parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      list_(new RowListView),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingEditor_(screen.editor().onChange([this] { followEditor(); })) {
    setList(list_);
    list_->setModel(&model_);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    connectList();
    new DialogPresenter(screen.dialogs(), *this);
    showChrome();
}

void RSSFeedsView::connectList() {
    connect(list_, &RowListView::opened, this, [this](const QModelIndex& row) { perform(RSSFeedAction::edit, row); });
    connect(list_, &RowListView::menuWanted, this, &RSSFeedsView::showMenu);
}

void RSSFeedsView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void RSSFeedsView::followEditor() {
    showSheet(screen_.editor().isOpen(), [this] { return new RSSFeedEditor(screen_.editor(), window()); });
}

void RSSFeedsView::showChrome() {
    toolbar().show(toolbarEntries(RSSFeedsScreen::toolbar()));
    content().show(screen_.placeholder());
}

void RSSFeedsView::perform(RSSFeedAction action, const QModelIndex& row) {
    if (row.isValid()) screen_.perform(action, screen_.rows()[static_cast<std::size_t>(row.row())].id);
}

void RSSFeedsView::pressDelete() {
    const std::vector<int> rows = list_->selectedRows();
    if (!rows.empty()) perform(RSSFeedAction::remove, model_.index(rows.front()));
}

void RSSFeedsView::showMenu(const QPoint& globalPosition) {
    const std::vector<int> rows = list_->selectedRows();
    if (rows.empty()) return;
    const FeedID feed = screen_.rows()[static_cast<std::size_t>(rows.front())].id;
    popUpMenu<RSSFeedAction>(*this, globalPosition, screen_.menu(feed),
                             [this, feed](RSSFeedAction action) { screen_.perform(action, feed); });
}

}  // namespace tovri
