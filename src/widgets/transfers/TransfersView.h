#pragma once

#include "widgets/parts/SectionView.h"
#include "widgets/rows/RowModel.h"
#include "widgets/transfers/TransferRows.h"

namespace tovri {

class RowListView;

// The transfers screen: a toolbar, what moves in sum, and the transfers in their sections; or a placeholder. Delete
// asks whether to cancel the selected transfer.
class TransfersView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit TransfersView(TransfersScreen& screen, QWidget* parent = nullptr);

    [[nodiscard]] bool can(SectionCommand command) const override {
        return command == SectionCommand::refresh ? screen_.canRefresh() : SectionView::can(command);
    }

    void perform(SectionCommand command) override {
        command == SectionCommand::refresh ? screen_.refresh() : SectionView::perform(command);
    }

protected:
    void appear() override { screen_.appear(); }

    void disappear() override { screen_.disappear(); }

    void pressToolbar(int action) override { screen_.perform(static_cast<TransferToolbarAction>(action)); }

    void pressPlaceholder() override { screen_.openPlaceholder(); }

    void pressDelete() override;

private:
    void connectList();
    void follow(const ScreenChange& change);
    void followSheet();
    void showChrome();
    void showMenu(const QPoint& globalPosition);

    // The transfer of the selected row, or null.
    [[nodiscard]] const TransferRow* selectedRow() const;

    TransfersScreen& screen_;
    TransferRows rows_;
    RowModel model_;
    RowListView* list_;
    Subscription following_;
    Subscription followingSheet_;
};

}  // namespace tovri
