#include "widgets/transfers/TransfersView.h"

#include <QAction>
#include <QShowEvent>
#include <QVBoxLayout>

#include "screens/window/SidebarItem.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/DialogPresenter.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/SummaryLine.h"
#include "widgets/parts/Texts.h"
#include "widgets/parts/Toolbar.h"
#include "widgets/rows/RowListView.h"
#include "widgets/transfers/AddTransferDialog.h"

namespace tovri {

TransfersView::TransfersView(TransfersScreen& screen, QWidget* parent)
    : QWidget(parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      toolbar_(new Toolbar),
      summary_(new SummaryLine),
      list_(new RowListView),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingSheet_(screen.addSheet().onChange([this] { followSheet(); })) {
    arrange();
    list_->setModel(&model_);
    connectParts();
    new DialogPresenter(screen.dialogs(), *this);
    showChrome();
}

// The list and the sheet are destroyed after what they show.
TransfersView::~TransfersView() {
    list_->setModel(nullptr);
    delete sheet_;
}

void TransfersView::arrange() {
    auto* transfers = new QWidget;
    auto* transfersColumn = new QVBoxLayout(transfers);
    transfersColumn->setContentsMargins(0, 0, 0, 0);
    transfersColumn->setSpacing(0);
    transfersColumn->addWidget(summary_);
    transfersColumn->addWidget(list_);
    content_ = new ContentArea(transfers, list_);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(toolbar_);
    column->addWidget(content_);
    const QString name = textOf(title(SidebarItem::transfers));
    setAccessibleName(name);
    list_->setAccessibleName(name);
    list_->setAlternatingRowColors(true);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
}

void TransfersView::connectParts() {
    connect(toolbar_, &Toolbar::triggered, this,
            [this](int action) { screen_.perform(static_cast<TransferToolbarAction>(action)); });
    connect(content_, &ContentArea::buttonPressed, this, [this] { screen_.openPlaceholder(); });
    connect(list_, &RowListView::buttonPressed, this, [this](const QModelIndex& index, int action) {
        const TransferRow& row = screen_.rows()[static_cast<std::size_t>(index.row())];
        if (row.id) screen_.perform(static_cast<TransferRowAction>(action), *row.id);
    });
    connect(list_, &RowListView::menuWanted, this, &TransfersView::showMenu);
    auto* cancellation = new QAction(list_);
    cancellation->setShortcut(QKeySequence::Delete);
    cancellation->setShortcutContext(Qt::WidgetShortcut);
    cancellation->setAutoRepeat(false);
    list_->addAction(cancellation);
    connect(cancellation, &QAction::triggered, this, &TransfersView::cancelSelected);
}

// A window that is minimised still shows its screen.
void TransfersView::showEvent(QShowEvent* event) {
    if (!event->spontaneous()) screen_.appear();
    QWidget::showEvent(event);
}

void TransfersView::hideEvent(QHideEvent* event) {
    if (!event->spontaneous()) screen_.disappear();
    QWidget::hideEvent(event);
}

void TransfersView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void TransfersView::followSheet() {
    const bool isOpen = screen_.addSheet().isOpen();
    if (isOpen == !sheet_.isNull()) return;
    if (isOpen) {
        sheet_ = new AddTransferDialog(screen_.addSheet(), window());
        sheet_->open();
    } else {
        dismiss(sheet_);
    }
}

void TransfersView::showChrome() {
    toolbar_->show(toolbarEntries(TransfersScreen::toolbar()));
    summary_->show(screen_.summary());
    summary_->setVisible(!screen_.summary().empty());
    content_->show(screen_.placeholder());
}

const TransferRow* TransfersView::selectedRow() const {
    const std::vector<int> rows = list_->selectedRows();
    return rows.empty() ? nullptr : &screen_.rows()[static_cast<std::size_t>(rows.front())];
}

void TransfersView::showMenu(const QPoint& globalPosition) {
    const TransferRow* row = selectedRow();
    if (!row || !row->id) return;
    popUpMenu<TransferRowAction>(*this, globalPosition, transferMenu(*row),
                                 [this, id = *row->id](TransferRowAction action) { screen_.perform(action, id); });
}

void TransfersView::cancelSelected() {
    const TransferRow* row = selectedRow();
    if (row && row->id) screen_.perform(TransferRowAction::cancel, *row->id);
}

}  // namespace tovri
