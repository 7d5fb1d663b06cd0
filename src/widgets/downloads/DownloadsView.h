#pragma once

#include <QTimer>

#include "widgets/downloads/DownloadRows.h"
#include "widgets/parts/SectionView.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

class RowListView;

// The downloads screen: a toolbar, what is running in sum, and the queue in its sections; or a placeholder. Return and
// double click do what a row is for, Delete removes the selected rows, and their menu is for all of them. Batches open
// in place; what is selected in one that is closed goes over to its row.
class DownloadsView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit DownloadsView(DownloadsScreen& screen, QWidget* parent = nullptr);

    [[nodiscard]] bool can(SectionCommand command) const override;
    void perform(SectionCommand command) override;
    [[nodiscard]] bool isOn(SectionCommand command) const override;

protected:
    void appear() override { screen_.appear(); }

    void disappear() override { screen_.disappear(); }

    void pressToolbar(int action) override;

    void pressPlaceholder() override { screen_.search(""); }

    void pressBanner() override { screen_.retrySaving(); }

    void pressDelete() override;

    void pressDetails(DetailsAction action) override { screen_.details().perform(action); }

    void renewDetails() override;

private:
    void connectList();
    void follow(const ScreenChange& change);
    void showChrome();
    void showMenu(const QPoint& globalPosition);
    void showHeaderMenu(const QModelIndex& header, const QPoint& globalPosition);
    void activate(const QModelIndex& index);
    void openBatch(const QModelIndex& index);
    void closeBatch(const QModelIndex& index);
    void showFailed();
    [[nodiscard]] std::vector<std::size_t> selectedRows() const;

    DownloadsScreen& screen_;
    DownloadRows rows_;
    RowModel model_;
    RowListView* list_;
    QTimer selection_;  // runs while the details are of another one
    Subscription following_;
    Subscription followingDetails_;
};

}  // namespace tovri
