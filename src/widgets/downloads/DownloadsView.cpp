#include "widgets/downloads/DownloadsView.h"

#include <algorithm>
#include <array>

#include "screens/window/SidebarItem.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/DialogPresenter.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"

namespace tovri {
namespace {

std::size_t placeOf(const QModelIndex& index) {
    return static_cast<std::size_t>(index.row());
}

}  // namespace

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
        screen_.perform(static_cast<DownloadAction>(action), screen_.downloadsAt({placeOf(row)}));
    });
    connect(list_, &RowListView::opened, this, &DownloadsView::activate);
    connect(list_, &RowListView::openingWanted, this, &DownloadsView::openBatch);
    connect(list_, &RowListView::closingWanted, this, &DownloadsView::closeBatch);
    connect(list_, &RowListView::menuWanted, this, &DownloadsView::showMenu);
    connect(list_, &RowListView::headerMenuWanted, this, &DownloadsView::showHeaderMenu);
    connect(&toolbar(), &Toolbar::searchChanged, this,
            [this](const QString& text) { screen_.search(text.toStdString()); });
    // It also changes while rows go, and is about those that are left once all have gone.
    selection_.setSingleShot(true);
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, &selection_, qOverload<>(&QTimer::start));
    connect(&selection_, &QTimer::timeout, this, &DownloadsView::renewDetails);
}

// --- Batches ---

void DownloadsView::activate(const QModelIndex& index) {
    const std::size_t row = placeOf(index);
    if (!screen_.isBatch(row)) return screen_.activate(screen_.idAt(row));
    screen_.rowAt(row).isOpen == std::optional(true) ? closeBatch(index) : openBatch(index);
}

void DownloadsView::openBatch(const QModelIndex& index) {
    screen_.setOpen(placeOf(index), true);
    list_->announceOpening(index.row());
}

// From one of its items, the batch is gone to first.
void DownloadsView::closeBatch(const QModelIndex& index) {
    using Selection = QItemSelectionModel;
    if (const auto batch = screen_.batchRowOf(placeOf(index)))
        return list_->selectionModel()->setCurrentIndex(model_.index(static_cast<int>(*batch)),
                                                        Selection::ClearAndSelect);
    const std::vector<int> selected = list_->selectedRows();
    const int current = list_->currentIndex().row();
    const int before = model_.rowCount();
    screen_.setOpen(placeOf(index), false);
    const int last = index.row() + before - model_.rowCount();
    const auto wasInside = [&](int row) { return row > index.row() && row <= last; };
    if (std::ranges::any_of(selected, wasInside)) list_->selectionModel()->select(index, Selection::Select);
    if (wasInside(current)) list_->selectionModel()->setCurrentIndex(index, Selection::NoUpdate);
    list_->announceOpening(index.row());
}

// --- The order of the finished ---

namespace {

struct OrderCommand {
    SectionCommand command;
    FinishedOrder order;
};

constexpr std::array orderCommands{OrderCommand{SectionCommand::orderAsQueue, FinishedOrder::queue},
                                   OrderCommand{SectionCommand::orderByTime, FinishedOrder::time},
                                   OrderCommand{SectionCommand::orderByName, FinishedOrder::name},
                                   OrderCommand{SectionCommand::orderBySize, FinishedOrder::size},
                                   OrderCommand{SectionCommand::orderByState, FinishedOrder::state}};

std::optional<FinishedOrder> orderOf(SectionCommand command) {
    const auto found = std::ranges::find(orderCommands, command, &OrderCommand::command);
    return found == orderCommands.end() ? std::nullopt : std::optional(found->order);
}

}  // namespace

bool DownloadsView::can(SectionCommand command) const {
    return command == SectionCommand::showBatches || orderOf(command) || SectionView::can(command);
}

bool DownloadsView::isOn(SectionCommand command) const {
    if (command == SectionCommand::showBatches) return screen_.showsBatches();
    return orderOf(command) == std::optional(screen_.finishedOrder());
}

void DownloadsView::perform(SectionCommand command) {
    const auto order = orderOf(command);
    if (command == SectionCommand::showBatches)
        screen_.showBatches(!screen_.showsBatches());
    else if (order)
        screen_.orderFinished(*order);
    else
        return SectionView::perform(command);
    emit commandsChanged();
}

void DownloadsView::showHeaderMenu(const QModelIndex& header, const QPoint& globalPosition) {
    if (screen_.sectionAt(placeOf(header)) != DownloadSection::finished) return;
    popUpMenu<FinishedOrder>(*this, globalPosition, screen_.finishedMenu(), [this](FinishedOrder order) {
        screen_.orderFinished(order);
        emit commandsChanged();
    });
}

// --- What is shown ---

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

// For the rows that are selected now, whatever is selected when it is answered.
void DownloadsView::showMenu(const QPoint& globalPosition) {
    popUpMenu<DownloadAction>(
        *this, globalPosition, screen_.menuAt(selectedRows()),
        [this, ids = screen_.downloadsAt(selectedRows())](DownloadAction action) { screen_.perform(action, ids); });
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
    screen_.details().select(showsDetails() ? screen_.downloadsAt(selectedRows()) : std::vector<UUID>());
}

void DownloadsView::pressDelete() {
    screen_.perform(DownloadAction::remove, screen_.downloadsAt(selectedRows()));
}

}  // namespace tovri
