#pragma once

#include <QWidget>

#include "screens/files/FolderChoice.h"
#include "widgets/rows/RowModel.h"
#include "widgets/rows/RowSource.h"

class QLabel;

namespace tovri {

class Breadcrumbs;
class ContentArea;
class RowListView;

// Chooses a put.io folder: what is chosen, the way to it, and the folders below it, which a click or Return opens.
class FolderBrowser final : public QWidget {
    Q_OBJECT

public:
    // `choice` outlives the browser.
    FolderBrowser(FolderChoice& choice, const QString& name, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;

private:
    class Rows final : public RowSource {
    public:
        explicit Rows(const FolderChoice& choice) : choice_(choice) {}

        [[nodiscard]] std::size_t rowCount() const override { return choice_.folders().size(); }

        [[nodiscard]] RowKey keyAt(std::size_t row) const override;

        [[nodiscard]] RowShape shapeAt(std::size_t /*row*/) const override { return RowShape::plain; }

        [[nodiscard]] QString titleAt(std::size_t row) const override;
        [[nodiscard]] RowContent contentAt(std::size_t row) const override;

    private:
        const FolderChoice& choice_;
    };

    void arrange(const QString& name);
    void showWay();
    void showFolders();
    void open(const QModelIndex& folder);
    void dress();

    FolderChoice& choice_;
    Rows rows_;
    RowModel model_;
    QLabel* check_;
    QLabel* selected_;
    Breadcrumbs* way_;
    RowListView* list_;
    ContentArea* content_;
    Subscription following_;
};

}  // namespace tovri
