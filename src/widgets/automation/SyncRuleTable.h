#pragma once

#include <QPersistentModelIndex>
#include <QTreeView>
#include <vector>

#include "widgets/automation/SyncRuleModel.h"
#include "widgets/rows/QuickPresses.h"

namespace tovri {

// The rules under the header of their columns, drawn like the rows of the other lists. Space and a click turn a rule's
// switch; Return and double click open the rule.
class SyncRuleTable final : public QTreeView {
    Q_OBJECT

public:
    // The table is empty when the model has gone.
    explicit SyncRuleTable(SyncRuleModel& model, QWidget* parent = nullptr);

    [[nodiscard]] std::vector<int> selectedRows() const;

signals:
    void opened(const QModelIndex& index);
    void menuWanted(int row, const QPoint& globalPosition);

protected:
    void drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    bool viewportEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    // The switch there, or none.
    [[nodiscard]] QModelIndex switchAt(const QPoint& point) const;
    void turn(const QModelIndex& index);
    void hover(int row);
    bool showToolTip(QHelpEvent& event);

    SyncRuleModel& rules_;
    QPersistentModelIndex pressedSwitch_;
    QuickPresses<QPersistentModelIndex> presses_;
    bool isAstray_ = false;  // the press that is under way
    int hoveredRow_ = -1;
    bool isKeyboardUsed_ = false;
};

}  // namespace tovri
