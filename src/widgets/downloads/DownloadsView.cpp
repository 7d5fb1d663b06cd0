#include "widgets/downloads/DownloadsView.h"

#include "screens/window/SidebarItem.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/DialogPresenter.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"

namespace tovri {

DownloadsView::DownloadsView(DownloadsScreen& screen, QWidget* parent)
    : SectionView(textOf(title(SidebarItem::downloads)), parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      list_(new RowListView),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingDetails_(screen.details().onChange([this] { showDetails(screen_.details().shown()); })) {
    setList(list_);
    addDetails();
    showDetails(screen.details().shown());
    list_->setModel(&model_);
    connectList();
    addSummarySwitch([this](bool isOn) { screen_.limitSpeed(isOn); });
    showChrome();
    new DialogPresenter(screen.dialogs(), *this);
}

void DownloadsView::connectList() {
    connect(list_, &RowListView::buttonPressed, this, [this](const QModelIndex& row, int action) {
        screen_.perform(static_cast<DownloadAction>(action), screen_.idAt(static_cast<std::size_t>(row.row())));
    });
    connect(list_, &RowListView::opened, this,
            [this](const QModelIndex& row) { screen_.activate(screen_.idAt(static_cast<std::size_t>(row.row()))); });
    connect(list_, &RowListView::menuWanted, this, &DownloadsView::showMenu);
    connect(&toolbar(), &Toolbar::searchChanged, this,
            [this](const QString& text) { screen_.search(text.toStdString()); });
    // It also changes while rows go, and is about those that are left once all have gone.
    selection_.setSingleShot(true);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, &selection_, qOverload<>(&QTimer::start));
    connect(&selection_, &QTimer::timeout, this, &DownloadsView::renewDetails);
}

void DownloadsView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void DownloadsView::showChrome() {
    toolbar().show(toolbarEntries(screen_.toolbar()));
    toolbar().setSearchText(textOf(screen_.searchText()));
    showSummary(screen_.summary());
    const SpeedSwitch& speed = screen_.speedSwitch();
    showSummarySwitch(textOf(speed.text), speed.isOn, textOf(SpeedSwitch::help));
    content().show(screen_.placeholder());
    showBanner(screen_.banner());
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

void DownloadsView::pressToolbar(int action) {
    if (action == static_cast<int>(QueueAction::showFailed)) return showFailed();
    screen_.perform(static_cast<QueueAction>(action));
}

// They are selected, so that what helps one of them can be done to all.
void DownloadsView::showFailed() {
    QItemSelection failed;
    for (const std::size_t row : screen_.failedRows()) {
        const QModelIndex index = model_.index(static_cast<int>(row));
        if (!failed.isEmpty() && failed.last().bottom() + 1 == index.row())
            failed.last() = QItemSelectionRange(failed.last().topLeft(), index);
        else
            failed.select(index, index);
    }
    if (failed.isEmpty()) return;
    list_->selectionModel()->setCurrentIndex(failed.first().topLeft(), QItemSelectionModel::NoUpdate);
    list_->selectionModel()->select(failed, QItemSelectionModel::ClearAndSelect);
    list_->scrollTo(failed.first().topLeft(), QAbstractItemView::PositionAtTop);
    list_->setFocus();
}

// Nobody looks at those that are not on view.
void DownloadsView::renewDetails() {
    screen_.details().select(showsDetails() ? selectedIDs() : std::vector<UUID>());
}

void DownloadsView::pressDelete() {
    screen_.perform(DownloadAction::remove, selectedIDs());
}

}  // namespace tovri
