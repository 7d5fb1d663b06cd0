#pragma once

#include <QWidget>

#include "widgets/downloads/DownloadRows.h"
#include "widgets/rows/RowModel.h"

namespace tovri {

class ContentArea;
class RowListView;
class SummaryLine;
class Toolbar;

// The downloads screen: a toolbar, what is running in sum, and the queue in its sections; or a placeholder. Return and
// double click do what a row is for, Delete removes the selected rows, and their menu is for all of them.
class DownloadsView final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the view.
    explicit DownloadsView(DownloadsScreen& screen, QWidget* parent = nullptr);
    ~DownloadsView() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void arrange();
    void connectParts();
    void follow(const ScreenChange& change);
    void showChrome();
    void showMenu(const QPoint& globalPosition);
    void removeSelected();
    [[nodiscard]] std::vector<std::size_t> selectedRows() const;
    [[nodiscard]] std::vector<UUID> selectedIDs() const;

    DownloadsScreen& screen_;
    DownloadRows rows_;
    RowModel model_;
    Toolbar* toolbar_;
    SummaryLine* summary_;
    RowListView* list_;
    ContentArea* content_ = nullptr;
    Subscription following_;
};

}  // namespace tovri
