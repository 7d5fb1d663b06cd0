#include "widgets/feeds/RSSFeedsView.h"

#include <QAction>
#include <QShowEvent>
#include <QVBoxLayout>

#include "screens/window/SidebarItem.h"
#include "widgets/feeds/RSSFeedEditor.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/DialogPresenter.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/Texts.h"
#include "widgets/parts/Toolbar.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

RSSFeedsView::RSSFeedsView(RSSFeedsScreen& screen, QWidget* parent)
    : QWidget(parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      toolbar_(new Toolbar),
      list_(new RowListView),
      content_(new ContentArea(list_)),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingEditor_(screen.editor().onChange([this] { followEditor(); })) {
    arrange();
    list_->setModel(&model_);
    connectParts();
    new DialogPresenter(screen.dialogs(), *this);
    showChrome();
}

// The list and the editor are destroyed after what they show.
RSSFeedsView::~RSSFeedsView() {
    list_->setModel(nullptr);
    delete editor_;
}

void RSSFeedsView::arrange() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolbar_);
    column->addWidget(content_);
    const QString name = textOf(title(SidebarItem::rss));
    setAccessibleName(name);
    list_->setAccessibleName(name);
    list_->setAlternatingRowColors(true);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
}

void RSSFeedsView::connectParts() {
    connect(toolbar_, &Toolbar::triggered, this,
            [this](int action) { screen_.perform(static_cast<RSSFeedToolbarAction>(action)); });
    connect(content_, &ContentArea::buttonPressed, this, [this] { screen_.openPlaceholder(); });
    connect(list_, &RowListView::activated, this,
            [this](const QModelIndex& row) { perform(RSSFeedAction::edit, row); });
    connect(list_, &RowListView::menuWanted, this, &RSSFeedsView::showMenu);
    auto* deletion = new QAction(list_);
    deletion->setShortcut(QKeySequence::Delete);
    deletion->setShortcutContext(Qt::WidgetShortcut);
    deletion->setAutoRepeat(false);
    list_->addAction(deletion);
    connect(deletion, &QAction::triggered, this, [this] { perform(RSSFeedAction::remove, list_->currentIndex()); });
}

// A window that is minimised still shows its screen.
void RSSFeedsView::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) screen_.appear();
    QWidget::showEvent(event);
}

void RSSFeedsView::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) screen_.disappear();
    QWidget::hideEvent(event);
}

void RSSFeedsView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void RSSFeedsView::followEditor() {
    const bool isOpen = screen_.editor().isOpen();
    if (isOpen == !editor_.isNull()) return;
    if (isOpen) {
        editor_ = new RSSFeedEditor(screen_.editor(), window());
        editor_->open();
    } else {
        dismiss(editor_);
    }
}

void RSSFeedsView::showChrome() {
    toolbar_->show(toolbarEntries(RSSFeedsScreen::toolbar()));
    content_->show(screen_.placeholder());
}

void RSSFeedsView::perform(RSSFeedAction action, const QModelIndex& row) {
    if (row.isValid()) screen_.perform(action, screen_.rows()[static_cast<std::size_t>(row.row())].id);
}

void RSSFeedsView::showMenu(const QPoint& globalPosition) {
    const std::vector<int> rows = list_->selectedRows();
    if (rows.empty()) return;
    const std::int64_t feed = screen_.rows()[static_cast<std::size_t>(rows.front())].id;
    popUpMenu<RSSFeedAction>(*this, globalPosition, screen_.menu(feed),
                             [this, feed](RSSFeedAction action) { screen_.perform(action, feed); });
}

}  // namespace tovri
