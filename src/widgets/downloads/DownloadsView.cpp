#include "widgets/downloads/DownloadsView.h"

#include <QAction>
#include <QVBoxLayout>

#include "screens/window/SidebarItem.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/SummaryLine.h"
#include "widgets/parts/Texts.h"
#include "widgets/parts/Toolbar.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

DownloadsView::DownloadsView(DownloadsScreen& screen, QWidget* parent)
    : QWidget(parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      toolbar_(new Toolbar),
      summary_(new SummaryLine),
      list_(new RowListView),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })) {
    arrange();
    list_->setModel(&model_);
    connectParts();
    showChrome();
}

// The list is destroyed after the model.
DownloadsView::~DownloadsView() {
    list_->setModel(nullptr);
}

void DownloadsView::arrange() {
    auto* queue = new QWidget;
    auto* queueColumn = new QVBoxLayout(queue);
    queueColumn->setContentsMargins(0, 0, 0, 0);
    queueColumn->setSpacing(0);
    queueColumn->addWidget(summary_);
    queueColumn->addWidget(list_);
    content_ = new ContentArea(queue, list_);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolbar_);
    column->addWidget(content_);
    const QString name = textOf(title(SidebarItem::downloads));
    setAccessibleName(name);
    list_->setAccessibleName(name);
    list_->setAlternatingRowColors(true);
}

void DownloadsView::connectParts() {
    connect(toolbar_, &Toolbar::triggered, this,
            [this](int action) { screen_.perform(static_cast<QueueAction>(action)); });
    connect(list_, &RowListView::buttonPressed, this, [this](const QModelIndex& row, int action) {
        screen_.perform(static_cast<DownloadAction>(action), screen_.idAt(static_cast<std::size_t>(row.row())));
    });
    connect(list_, &RowListView::activated, this,
            [this](const QModelIndex& row) { screen_.activate(screen_.idAt(static_cast<std::size_t>(row.row()))); });
    connect(list_, &RowListView::menuWanted, this, &DownloadsView::showMenu);
    auto* removal = new QAction(list_);
    removal->setShortcut(QKeySequence::Delete);
    removal->setShortcutContext(Qt::WidgetShortcut);
    removal->setAutoRepeat(false);
    list_->addAction(removal);
    connect(removal, &QAction::triggered, this, &DownloadsView::removeSelected);
}

void DownloadsView::showEvent(QShowEvent* event) {
    screen_.appear();
    QWidget::showEvent(event);
}

void DownloadsView::hideEvent(QHideEvent* event) {
    screen_.disappear();
    QWidget::hideEvent(event);
}

void DownloadsView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void DownloadsView::showChrome() {
    toolbar_->show(toolbarEntries(screen_.toolbar()));
    summary_->show(screen_.summary());
    summary_->setVisible(!screen_.summary().empty());
    content_->show(screen_.placeholder());
}

std::vector<std::size_t> DownloadsView::selectedRows() const {
    const std::vector<int> rows = list_->selectedRows();
    return {rows.begin(), rows.end()};
}

std::vector<UUID> DownloadsView::selectedIDs() const {
    std::vector<UUID> ids;
    for (const std::size_t row : selectedRows()) ids.push_back(screen_.idAt(row));
    return ids;
}

// For the rows that are selected now, whatever is selected when it is answered.
void DownloadsView::showMenu(const QPoint& globalPosition) {
    popUpMenu<DownloadAction>(*this, globalPosition, screen_.menuAt(selectedRows()),
                              [this, ids = selectedIDs()](DownloadAction action) { screen_.perform(action, ids); });
}

void DownloadsView::removeSelected() {
    screen_.perform(DownloadAction::remove, selectedIDs());
}

}  // namespace tovri
