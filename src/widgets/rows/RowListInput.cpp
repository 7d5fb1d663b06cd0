#include <QAccessible>
#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QToolTip>

#include "widgets/rows/RowListView.h"
#include "widgets/theme/ForeignText.h"

namespace tovri {

// --- Pointer ---

void RowListView::hover(const Spot& spot) {
    if (spot == hovered_) return;
    updateRow(hovered_.row);
    hovered_ = spot;
    updateRow(hovered_.row);
}

bool RowListView::viewportEvent(QEvent* event) {
    switch (event->type()) {
        case QEvent::HoverMove:
        case QEvent::HoverEnter:
            hover(spotAt(static_cast<QHoverEvent*>(event)->position().toPoint()));
            break;
        case QEvent::HoverLeave:
        case QEvent::Leave:
            hover({});
            break;
        case QEvent::ToolTip: {
            const auto* help = static_cast<QHelpEvent*>(event);
            showToolTip(help->pos(), help->globalPos());
            return true;
        }
        default:
            break;
    }
    return QAbstractItemView::viewportEvent(event);
}

void RowListView::showToolTip(const QPoint& point, const QPoint& globalPosition) {
    const Spot spot = spotAt(point);
    if (spot.row < 0) return QToolTip::hideText();
    const RowContent content = rows_->contentAt(spot.row);
    QString text = content.toolTip;
    QRect area = rowRect(spot.row);
    if (spot.button != RowLook::noButton) {
        text = content.buttons[static_cast<std::size_t>(spot.button)].help;
        area = buttonRect(spot.row, spot.button);
    } else if (text.isEmpty()) {
        text = RowPainter(*this).cutTexts(area, content);
    }
    showPlainToolTip(globalPosition, text, viewport(), area);
}

void RowListView::mouseMoveEvent(QMouseEvent* event) {
    hover(spotAt(event->position().toPoint()));
    if (!isAstray_ && pressed_.button == RowLook::noButton) QAbstractItemView::mouseMoveEvent(event);
}

void RowListView::mousePressEvent(QMouseEvent* event) {
    isKeyboardUsed_ = false;
    const Spot spot = spotAt(event->position().toPoint());
    isAstray_ = presses_.isAstray(*event, thingAt(spot)) || isInert_;
    if (isAstray_ || opens(*event, spot)) return;
    if (event->button() == Qt::LeftButton && spot.button != RowLook::noButton) {
        pressed_ = buttonAt(spot);
        hovered_ = spot;
        updateRow(spot.row);
        return;
    }
    if (event->type() == QEvent::MouseButtonDblClick && event->button() == Qt::LeftButton)
        QAbstractItemView::mouseDoubleClickEvent(event);
    else
        QAbstractItemView::mousePressEvent(event);
}

// The second press of a double click on the sign does not close again what the first one has opened.
bool RowListView::opens(const QMouseEvent& press, const Spot& spot) {
    if (press.button() != Qt::LeftButton || spot.row < 0) return false;
    const RowContent content = rows_->contentAt(spot.row);
    const QRect sign = RowPainter(*this).openingRect(rowRect(spot.row), content);
    if (!content.isOpen || !sign.contains(press.position().toPoint())) return false;
    isAstray_ = true;  // its release is not for the row
    if (press.type() == QEvent::MouseButtonDblClick) return true;
    const QModelIndex row = rows_->index(spot.row);
    *content.isOpen ? emit closingWanted(row) : emit openingWanted(row);
    return true;
}

void RowListView::mouseReleaseEvent(QMouseEvent* event) {
    if (std::exchange(isAstray_, false)) return;
    const Press pressed = std::exchange(pressed_, {});
    if (pressed.button == RowLook::noButton) return QAbstractItemView::mouseReleaseEvent(event);
    updateRow(pressed.row.row());
    const Press released = buttonAt(spotAt(event->position().toPoint()));
    if (released == pressed) pressButton(released.row.row(), released.button);
}

RowListView::Press RowListView::buttonAt(const Spot& spot) const {
    return spot.button == RowLook::noButton ? Press() : thingAt(spot);
}

RowListView::Press RowListView::thingAt(const Spot& spot) const {
    if (spot.row < 0) return {};
    Press found{.row = rows_->index(spot.row)};
    if (spot.button == RowLook::noButton) return found;
    found.button = spot.button;
    found.action = rows_->contentAt(spot.row).buttons[static_cast<std::size_t>(spot.button)].action;
    return found;
}

void RowListView::mouseDoubleClickEvent(QMouseEvent* event) {
    mousePressEvent(event);
}

// The one that stays in sight lies above the rows.
int RowListView::headerAt(const QPoint& point) const {
    if (rows_ == nullptr || !viewport()->rect().contains(point)) return -1;
    const int top = geometry().headerOf(geometry().rowAt(verticalOffset()));
    if (top >= 0 && point.y() < measures::headerHeight) return top;
    const int row = geometry().rowAt(point.y() + verticalOffset());
    return row >= 0 && rows_->shapeAt(row) == RowShape::header ? row : -1;
}

void RowListView::contextMenuEvent(QContextMenuEvent* event) {
    const int header = event->reason() == QContextMenuEvent::Keyboard ? -1 : headerAt(event->pos());
    if (header >= 0 && !isInert_) return headerMenuWanted(rows_->index(header), event->globalPos());
    const auto selected = selectedRows();
    if (selected.empty() || isInert_) return;
    if (event->reason() != QContextMenuEvent::Keyboard) {
        if (isAstray_) return;
        if (indexAt(event->pos()).isValid()) emit menuWanted(event->globalPos());
        return;
    }
    const QModelIndex row = currentIndex().isValid() ? currentIndex() : rows_->index(selected.front());
    scrollTo(row);
    emit menuWanted(viewport()->mapToGlobal(visualRect(row).center()));
}

// --- Keyboard ---

int RowListView::focusedButtonOf(int row) const {
    return currentIndex().isValid() && currentIndex().row() == row ? focusedButton_ : RowLook::noButton;
}

void RowListView::focusButton(int button) {
    focusedButton_ = button;
    isKeyboardUsed_ = true;
    updateRow(currentIndex().row());
    QAccessibleInterface* list = QAccessible::isActive() ? QAccessible::queryAccessibleInterface(this) : nullptr;
    QAccessibleInterface* row = list == nullptr ? nullptr : list->child(currentIndex().row());
    QAccessibleInterface* focus = row == nullptr || button == RowLook::noButton ? row : row->child(button);
    if (focus == nullptr) return;
    QAccessibleEvent event(focus, QAccessible::Focus);
    QAccessible::updateAccessibility(&event);
}

bool RowListView::focusNextPrevChild(bool next) {
    const int row = currentIndex().isValid() ? currentIndex().row() : -1;
    const int count = row < 0 ? 0 : static_cast<int>(rows_->contentAt(row).buttons.size());
    const int wanted = focusedButton_ + (next ? 1 : -1);
    if (hasFocus() && wanted >= RowLook::noButton && wanted < count) {
        focusButton(wanted);
        return true;
    }
    focusedButton_ = RowLook::noButton;
    return QAbstractItemView::focusNextPrevChild(next);
}

void RowListView::focusInEvent(QFocusEvent* event) {
    const auto reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason || reason == Qt::ShortcutFocusReason)
        isKeyboardUsed_ = true;
    QAbstractItemView::focusInEvent(event);
    viewport()->update();
}

// Whether the arrow is for the row's opening and not for its buttons.
bool RowListView::opensBelow(bool towardsEnd, const RowContent& content) {
    if (focusedButton_ != RowLook::noButton) return false;
    const bool opens = towardsEnd && content.isOpen == std::optional(false);
    const bool closes = !towardsEnd && (content.isOpen == std::optional(true) || content.level > 0);
    if (opens) emit openingWanted(currentIndex());
    if (closes) emit closingWanted(currentIndex());
    return opens || closes;
}

void RowListView::announceOpening(int row) {
    QAccessibleInterface* list = QAccessible::isActive() ? QAccessible::queryAccessibleInterface(this) : nullptr;
    QAccessibleInterface* part = list == nullptr ? nullptr : list->child(row);
    if (part == nullptr) return;
    QAccessible::State changed;
    changed.expanded = true;
    QAccessibleStateChangeEvent event(part, changed);
    QAccessible::updateAccessibility(&event);
}

void RowListView::keyPressEvent(QKeyEvent* event) {
    isKeyboardUsed_ = true;
    if (isInert_) return event->ignore();
    const bool towardsEnd = event->key() == (isRightToLeft() ? Qt::Key_Left : Qt::Key_Right);
    const bool towardsStart = event->key() == (isRightToLeft() ? Qt::Key_Right : Qt::Key_Left);
    const int row = currentIndex().isValid() ? currentIndex().row() : -1;
    const RowContent content = row < 0 ? RowContent() : rows_->contentAt(row);
    const int count = static_cast<int>(content.buttons.size());
    if (towardsEnd || towardsStart) {
        if (row >= 0 && !opensBelow(towardsEnd, content))
            focusButton(std::clamp(focusedButton_ + (towardsEnd ? 1 : -1), RowLook::noButton, count - 1));
        return event->accept();
    }
    const int key = event->key();
    const bool presses = key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter;
    if (presses && event->isAutoRepeat()) return event->accept();  // once, however long it is held
    if (presses && focusedButton_ != RowLook::noButton &&
        (event->modifiers() | Qt::KeypadModifier) == Qt::KeypadModifier)
        return pressButton(row, focusedButton_);
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && row >= 0) emit opened(currentIndex());
    QAbstractItemView::keyPressEvent(event);
}

void RowListView::pressButton(int row, int button) {
    const RowContent content = rows_->contentAt(row);
    if (isInert_ || button < 0 || button >= static_cast<int>(content.buttons.size())) return;
    const InlineButton& pressed = content.buttons[static_cast<std::size_t>(button)];
    if (pressed.isEnabled) emit buttonPressed(rows_->index(row), pressed.action);
}

}  // namespace tovri
