#pragma once

#include <QWidget>

#include "screens/automation/SyncRuleEditorSheet.h"
#include "widgets/rows/RowModel.h"
#include "widgets/rows/RowSource.h"

class QLabel;

namespace tovri {

class Breadcrumbs;
class ContentArea;
class RowListView;

// Chooses the put.io folder of a rule: what is chosen, the way to it, and the folders below it, which a click or Return
// opens.
class FolderBrowser final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the browser.
    explicit FolderBrowser(SyncRuleEditorSheet& screen, QWidget* parent = nullptr);

    void showWay();
    void showFolders();

protected:
    void changeEvent(QEvent* event) override;

private:
    class Rows final : public RowSource {
    public:
        explicit Rows(const SyncRuleEditorSheet& screen) : screen_(screen) {}

        [[nodiscard]] std::size_t rowCount() const override { return screen_.folders().size(); }

        [[nodiscard]] RowKey keyAt(std::size_t row) const override;

        [[nodiscard]] RowShape shapeAt(std::size_t /*row*/) const override { return RowShape::plain; }

        [[nodiscard]] QString titleAt(std::size_t row) const override;
        [[nodiscard]] RowContent contentAt(std::size_t row) const override;

    private:
        const SyncRuleEditorSheet& screen_;
    };

    void arrange();
    void open(const QModelIndex& folder);
    void dress();

    SyncRuleEditorSheet& screen_;
    Rows rows_;
    RowModel model_;
    QLabel* check_;
    QLabel* selected_;
    Breadcrumbs* way_;
    RowListView* list_;
    ContentArea* content_;
};

}  // namespace tovri
