#pragma once

#include <QTimer>

#include "widgets/downloads/DownloadRows.h"
#include "widgets/parts/SectionView.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

class RowListView;

// The downloads screen: a toolbar, what is running in sum, and the queue in its sections; or a placeholder. Return and
// double click do what a row is for, Delete removes the selected rows, and their menu is for all of them.
class DownloadsView final : public SectionView {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit DownloadsView(DownloadsScreen& screen, QWidget* parent = nullptr);

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
    void showFailed();
    [[nodiscard]] std::vector<std::size_t> selectedRows() const;
    [[nodiscard]] std::vector<UUID> selectedIDs() const;

    DownloadsScreen& screen_;
    DownloadRows rows_;
    RowModel model_;
    RowListView* list_;
    QTimer selection_;  // runs while the details are of another one
    Subscription following_;
    Subscription followingDetails_;
};

}  // namespace tovri
