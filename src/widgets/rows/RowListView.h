#pragma once

#include <QAbstractItemView>
#include <QBasicTimer>
#include <QElapsedTimer>
#include <QPersistentModelIndex>
#include <vector>

#include "widgets/rows/QuickPresses.h"
#include "widgets/rows/RowFade.h"
#include "widgets/rows/RowGeometry.h"
#include "widgets/rows/RowModel.h"
#include "widgets/rows/RowPainter.h"

namespace tovri {

// The list of a screen: headers that stay in sight, rows with captions, bars and buttons. It draws only what is in
// sight and keeps nothing per row but where it stands, so a hundred thousand rows cost little. Whatever changes, the
// rows in sight stay where they are, and the selection with them; those that leave their section fade.
//
// Return and double click open a row, also where the desktop's own views activate at a click. Tab, or the arrow towards
// the row's end, walks through the buttons of the current row; Space and Return press one. Where rows belong to others,
// the arrows open and close these first, and lead back to them. The second press of a double click has no effect on a
// row that has come under the pointer since the first.
class RowListView : public QAbstractItemView {
    Q_OBJECT

public:
    explicit RowListView(QWidget* parent = nullptr);

    // The model is a RowModel. The view is empty when the model has gone.
    void setModel(QAbstractItemModel* model) override;

    [[nodiscard]] RowModel* rows() const { return rows_; }

    [[nodiscard]] std::vector<int> selectedRows() const;

    // While it is, the rows are dimmed and nothing can be done with them; they can still be scrolled.
    void setInert(bool isInert);

    [[nodiscard]] bool isInert() const { return isInert_; }

    [[nodiscard]] QRect visualRect(const QModelIndex& index) const override;
    [[nodiscard]] QModelIndex indexAt(const QPoint& point) const override;
    void scrollTo(const QModelIndex& index, ScrollHint hint = EnsureVisible) override;

    // In the viewport, for who presses them without a pointer.
    [[nodiscard]] QRect buttonRect(int row, int button) const;
    void pressButton(int row, int button);

    // The one that keys go to; RowLook::noButton where that is the row itself, or another row.
    [[nodiscard]] int focusedButtonOf(int row) const;

    // Says to who does not see it that the row was opened or closed.
    void announceOpening(int row);

signals:
    void opened(const QModelIndex& index);
    void buttonPressed(const QModelIndex& index, int action);
    void menuWanted(const QPoint& globalPosition);  // for the selected rows
    void headerMenuWanted(const QModelIndex& header, const QPoint& globalPosition);
    void openingWanted(const QModelIndex& index);  // of a closed row
    void closingWanted(const QModelIndex& index);  // of an open row, or from one that belongs to one

protected:
    [[nodiscard]] int horizontalOffset() const override { return 0; }

    [[nodiscard]] int verticalOffset() const override;

    [[nodiscard]] bool isIndexHidden(const QModelIndex&) const override { return false; }

    // The row that a drag would be dropped on; -1 for none.
    void setDropRow(int row);

    [[nodiscard]] QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) override;
    [[nodiscard]] QRegion visualRegionForSelection(const QItemSelection& selection) const override;
    void dataChanged(const QModelIndex& first, const QModelIndex& last, const QList<int>& roles) override;
    void rowsAboutToBeRemoved(const QModelIndex& parent, int first, int last) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void doItemsLayout() override;
    void updateGeometries() override;
    void scrollContentsBy(int dx, int dy) override;

    bool focusNextPrevChild(bool next) override;
    bool viewportEvent(QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    struct Spot {
        int row = -1;
        int button = RowLook::noButton;

        bool operator==(const Spot&) const = default;
    };

    // A row, or a button in it, that is pressed, wherever the row goes meanwhile.
    struct Press {
        QPersistentModelIndex row;
        int button = RowLook::noButton;
        int action = 0;

        bool operator==(const Press&) const = default;
    };

    // A row that was in sight before a change, and how far below the top.
    struct Anchor {
        QPersistentModelIndex row;
        int offset = 0;
    };

    void forgetRows();
    void keepAnchors();
    void returnToAnchors();
    const RowGeometry& geometry() const;
    [[nodiscard]] QRect rowRect(int row) const;
    [[nodiscard]] Spot spotAt(const QPoint& point) const;
    [[nodiscard]] RowLook lookOf(int row) const;
    [[nodiscard]] int nextSelectable(int row, int step) const;
    void focusButton(int button);
    void hover(const Spot& spot);
    [[nodiscard]] int headerAt(const QPoint& point) const;
    [[nodiscard]] bool opens(const QMouseEvent& press, const Spot& spot);
    [[nodiscard]] bool opensBelow(bool towardsEnd, const RowContent& content);
    [[nodiscard]] Press buttonAt(const Spot& spot) const;
    [[nodiscard]] Press thingAt(const Spot& spot) const;
    void updateRow(int row);
    void paintRow(QPainter& painter, int row);
    void paintStickyHeader(QPainter& painter);
    void fadeWhatLeft(int shift);
    void paintFade(QPainter& painter);
    void noteAnimation(int row, const RowContent& content);
    void showToolTip(const QPoint& point, const QPoint& globalPosition);

    RowModel* rows_ = nullptr;
    mutable RowGeometry geometry_;
    mutable bool isGeometryOld_ = true;
    std::vector<Anchor> anchors_;
    Spot hovered_;
    Press pressed_;  // the button that the pointer holds down
    QuickPresses<Press> presses_;
    bool isAstray_ = false;  // the press that is under way
    int dropRow_ = -1;
    int focusedButton_ = RowLook::noButton;  // of the current row
    bool isKeyboardUsed_ = false;
    bool isInert_ = false;
    std::vector<int> animatedRows_;
    QBasicTimer animation_;
    RowFade fade_;
    QBasicTimer fading_;
    QElapsedTimer clock_;
};

}  // namespace tovri
