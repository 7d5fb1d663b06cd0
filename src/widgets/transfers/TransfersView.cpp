#include "widgets/transfers/TransfersView.h"

#include "screens/window/SidebarItem.h"
#include "widgets/parts/ContentArea.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/DialogPresenter.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/rows/RowListView.h"
#include "widgets/transfers/AddTransferDialog.h"

namespace tovri {

TransfersView::TransfersView(TransfersScreen& screen, QWidget* parent)
    : SectionView(textOf(title(SidebarItem::transfers)), parent),
      screen_(screen),
      rows_(screen),
      model_(rows_),
      list_(new RowListView),
      following_(screen.onChange([this](const ScreenChange& change) { follow(change); })),
      followingSheet_(screen.addSheet().onChange([this] { followSheet(); })) {
    setList(list_);
    list_->setModel(&model_);
    list_->setSelectionMode(QAbstractItemView::SingleSelection);
    connectList();
    new DialogPresenter(screen.dialogs(), *this);
    showChrome();
}

void TransfersView::connectList() {
    connect(list_, &RowListView::buttonPressed, this, [this](const QModelIndex& index, int action) {
        const TransferRow& row = screen_.rows()[static_cast<std::size_t>(index.row())];
        if (row.id) screen_.perform(static_cast<TransferRowAction>(action), *row.id);
    });
    connect(list_, &RowListView::menuWanted, this, &TransfersView::showMenu);
}

void TransfersView::follow(const ScreenChange& change) {
    if (change.kind == ScreenChange::Kind::chrome) return showChrome();
    model_.follow(change);
}

void TransfersView::followSheet() {
    showSheet(screen_.addSheet().isOpen(), [this] { return new AddTransferDialog(screen_.addSheet(), window()); });
}

void TransfersView::showChrome() {
    toolbar().show(toolbarEntries(screen_.toolbar()));
    showSummary(screen_.summary());
    content().show(screen_.placeholder());
    emit commandsChanged();
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

void TransfersView::pressDelete() {
    const TransferRow* row = selectedRow();
    if (row && row->id) screen_.perform(TransferRowAction::cancel, *row->id);
}

}  // namespace tovri
