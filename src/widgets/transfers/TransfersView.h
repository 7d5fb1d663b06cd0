#pragma once

#include <QPointer>
#include <QWidget>

#include "widgets/rows/RowModel.h"
#include "widgets/transfers/TransferRows.h"

namespace tovri {

class ContentArea;
class RowListView;
class Sheet;
class SummaryLine;
class Toolbar;

// The transfers screen: a toolbar, what moves in sum, and the transfers in their sections; or a placeholder. Delete
// asks whether to cancel the selected transfer.
class TransfersView final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit TransfersView(TransfersScreen& screen, QWidget* parent = nullptr);
    ~TransfersView() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void arrange();
    void connectParts();
    void follow(const ScreenChange& change);
    void followSheet();
    void showChrome();
    void showMenu(const QPoint& globalPosition);
    void cancelSelected();

    // The transfer of the selected row, or null.
    [[nodiscard]] const TransferRow* selectedRow() const;

    TransfersScreen& screen_;
    TransferRows rows_;
    RowModel model_;
    Toolbar* toolbar_;
    SummaryLine* summary_;
    RowListView* list_;
    ContentArea* content_ = nullptr;
    QPointer<Sheet> sheet_;
    Subscription following_;
    Subscription followingSheet_;
};

}  // namespace tovri
