#include "widgets/automation/SyncRuleTable.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>

#include "widgets/automation/SyncRuleCells.h"
#include "widgets/rows/RowPainter.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"

namespace tovri {

SyncRuleTable::SyncRuleTable(SyncRuleModel& model, QWidget* parent) : QTreeView(parent), rules_(model) {
    setHeader(new SyncRuleHeader(this));
    setItemDelegate(new SyncRuleRowHeight(this));
    setModel(&model);
    setFrameShape(QFrame::NoFrame);
    setRootIsDecorated(false);
    setItemsExpandable(false);
    setExpandsOnDoubleClick(false);
    setUniformRowHeights(true);
    setIndentation(0);
    setSelectionMode(ExtendedSelection);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideNone);
    viewport()->setAttribute(Qt::WA_Hover);
    arrangeColumns(*header());
    connect(this, &QTreeView::doubleClicked, this, &SyncRuleTable::opened);
}

std::vector<int> SyncRuleTable::selectedRows() const {
    std::vector<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) rows.push_back(index.row());
    std::ranges::sort(rows);
    return rows;
}

void SyncRuleTable::drawRow(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const int row = index.row();
    const bool isCurrent = currentIndex().isValid() && currentIndex().row() == row;
    const RowLook look{.isSelected = selectionModel()->isRowSelected(row, {}),
                       .isHovered = hoveredRow_ == row,
                       .isAlternate = row % 2 == 1,
                       .isViewFocused = hasFocus(),
                       .hasRing = isCurrent && isKeyboardUsed_ && hasFocus()};
    const QRect whole(0, option.rect.top(), viewport()->width(), option.rect.height());
    RowPainter(*this).paintBackground(*painter, whole, look);
    const SyncRuleCells cells(*this, rules_.rowAt(row));
    for (int column = 0; column < SyncRuleModel::columnEnd; ++column)
        cells.paint(*painter, column, visualRect(index.siblingAtColumn(column)));
    cells.paintFailure(*painter, whole);
}

// --- The switch ---

QModelIndex SyncRuleTable::switchAt(const QPoint& point) const {
    const QModelIndex index = indexAt(point);
    return index.column() == SyncRuleModel::enabled ? index : QModelIndex();
}

void SyncRuleTable::turn(const QModelIndex& index) {
    const bool isOn = rules_.data(index, Qt::CheckStateRole).toInt() == Qt::Checked;
    rules_.setData(index, isOn ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
}

void SyncRuleTable::mousePressEvent(QMouseEvent* event) {
    isKeyboardUsed_ = false;
    isAstray_ = presses_.isAstray(*event, indexAt(event->position().toPoint()));
    if (isAstray_) return;
    pressedSwitch_ = event->button() == Qt::LeftButton ? switchAt(event->position().toPoint()) : QModelIndex();
    if (pressedSwitch_.isValid()) return;
    if (event->type() == QEvent::MouseButtonDblClick && event->button() == Qt::LeftButton)
        QTreeView::mouseDoubleClickEvent(event);
    else
        QTreeView::mousePressEvent(event);
}

void SyncRuleTable::mouseReleaseEvent(QMouseEvent* event) {
    if (std::exchange(isAstray_, false)) return;
    const QPersistentModelIndex pressed = std::exchange(pressedSwitch_, {});
    if (!pressed.isValid()) return QTreeView::mouseReleaseEvent(event);
    if (switchAt(event->position().toPoint()) == pressed) turn(pressed);
}

void SyncRuleTable::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

void SyncRuleTable::keyPressEvent(QKeyEvent* event) {
    isKeyboardUsed_ = true;
    const QModelIndex current = currentIndex();
    const bool turns = event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier;
    const bool opens = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if ((turns || opens) && event->isAutoRepeat()) return event->accept();  // once, however long it is held
    if (turns && current.isValid()) return turn(current.siblingAtColumn(SyncRuleModel::enabled));
    if (opens && current.isValid()) emit opened(current);
    QTreeView::keyPressEvent(event);
}

void SyncRuleTable::focusInEvent(QFocusEvent* event) {
    const auto reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
        isKeyboardUsed_ = true;
    QTreeView::focusInEvent(event);
}

// --- Menu, pointer, tooltips ---

void SyncRuleTable::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Keyboard) {
        if (isAstray_) return;
        const QModelIndex index = indexAt(event->pos());
        if (index.isValid()) emit menuWanted(index.row(), event->globalPos());
    } else if (currentIndex().isValid()) {
        scrollTo(currentIndex());
        emit menuWanted(currentIndex().row(), viewport()->mapToGlobal(visualRect(currentIndex()).center()));
    }
}

void SyncRuleTable::hover(int row) {
    if (std::exchange(hoveredRow_, row) != row) viewport()->update();
}

bool SyncRuleTable::viewportEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::HoverMove:
        case QEvent::HoverEnter:
            hover(indexAt(static_cast<QHoverEvent*>(event)->position().toPoint()).row());
            break;
        case QEvent::HoverLeave:
        case QEvent::Leave:
            hover(-1);
            break;
        case QEvent::ToolTip:
            return showToolTip(*static_cast<QHelpEvent*>(event));
        default:
            break;
    }
    return QTreeView::viewportEvent(event);
}

bool SyncRuleTable::showToolTip(QHelpEvent& event) {
    const QModelIndex index = indexAt(event.pos());
    const QString text =
        index.isValid()
            ? SyncRuleCells(*this, rules_.rowAt(index.row())).help(index.column(), visualRect(index), event.pos())
            : QString();
    showPlainToolTip(event.globalPos(), text, viewport(), visualRect(index));
    return true;
}

}  // namespace tovri
