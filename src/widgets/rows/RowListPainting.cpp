#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "widgets/rows/RowListView.h"
#include "widgets/theme/Theme.h"

namespace tovri {
namespace {

constexpr int animationStep = 50;    // milliseconds
constexpr int fadingStep = 16;       // milliseconds
constexpr double breathTime = 1200;  // milliseconds
constexpr double turnTime = 1400;    // milliseconds
constexpr double shallowestBreath = 0.55;
constexpr double inertOpacity = 0.4;

}  // namespace

RowLook RowListView::lookOf(int row) const {
    RowLook look;
    const bool isCurrent = currentIndex().isValid() && currentIndex().row() == row;
    look.isSelected = selectionModel() != nullptr && selectionModel()->isSelected(rows_->index(row));
    look.isHovered = hovered_.row == row;
    look.isAlternate = alternatingRowColors() && (row - geometry().headerOf(row)) % 2 == 0;
    look.isViewFocused = hasFocus();
    look.hasRing = isCurrent && isKeyboardUsed_ && hasFocus() && focusedButton_ == RowLook::noButton;
    look.isDropTarget = dropRow_ == row;
    if (hovered_.row == row) look.hoveredButton = hovered_.button;
    if (hovered_ == Spot{pressed_.row.row(), pressed_.button} && hovered_.row == row)
        look.pressedButton = pressed_.button;
    if (isCurrent && isKeyboardUsed_ && hasFocus()) look.focusedButton = focusedButton_;
    if (!isMotionWanted()) return look;
    const auto time = static_cast<double>(clock_.elapsed());
    const double wave = 0.5 + 0.5 * std::cos(time / breathTime * 2 * std::numbers::pi);
    look.breath = shallowestBreath + (1 - shallowestBreath) * wave;
    look.turn = std::fmod(time / turnTime, 1.0);
    return look;
}

void RowListView::paintEvent(QPaintEvent* event) {
    executeDelayedItemsLayout();
    QPainter painter(viewport());
    if (rows_ == nullptr) return;
    if (isInert_) painter.setOpacity(inertOpacity);
    const QRect area = event->rect();
    fade_.forgetDrawn(area.translated(0, verticalOffset()), viewport()->rect().translated(0, verticalOffset()));
    std::erase_if(animatedRows_, [&](int row) { return rowRect(row).intersects(area); });
    const int top = std::max(area.top() + verticalOffset(), 0);
    for (int row = geometry().rowAt(top); row >= 0 && row < geometry().rowCount(); ++row) {
        if (rowRect(row).top() > area.bottom()) break;
        paintRow(painter, row);
    }
    paintFade(painter);
    paintStickyHeader(painter);
    if (animatedRows_.empty())
        animation_.stop();
    else if (!animation_.isActive())
        animation_.start(animationStep, this);
}

void RowListView::paintRow(QPainter& painter, int row) {
    const QRect rect = rowRect(row);
    const RowLook look = lookOf(row);
    RowContent content = rows_->contentAt(row);
    noteAnimation(row, content);
    RowPainter(*this).paint(painter, rect, content, look);
    const int header = geometry().headerOf(row);
    if (header < 0) return;
    fade_.noteDrawn({rows_->index(row), rows_->keyAt(row), rows_->keyAt(header), rect.translated(0, verticalOffset()),
                     std::move(content), look});
}

// The next section's header pushes it out.
void RowListView::paintStickyHeader(QPainter& painter) {
    const int header = geometry().headerOf(geometry().rowAt(verticalOffset()));
    if (header < 0) return;
    const int next = geometry().headerAfter(header);
    const int pushed = next < 0 ? 0 : std::min(0, rowRect(next).top() - measures::headerHeight);
    const QRect rect(0, pushed, viewport()->width(), measures::headerHeight);
    RowPainter(*this).paint(painter, rect, rows_->contentAt(header), {});
}

void RowListView::noteAnimation(int row, const RowContent& content) {
    const bool moves = content.pulses || (content.shape != RowShape::header && content.symbol.empty()) ||
                       (content.progress && !content.progress->fraction);
    if (moves && isMotionWanted()) animatedRows_.push_back(row);
}

// --- What leaves a section ---

void RowListView::fadeWhatLeft(int shift) {
    const auto placeOf = [this](int row) {
        const int header = geometry().headerOf(row);
        return RowFade::Place{header < 0 ? RowKey() : rows_->keyAt(header), geometry().top(row)};
    };
    fade_.follow(placeOf, shift, *this);
}

void RowListView::paintFade(QPainter& painter) {
    if (!fade_.isRunning()) return;
    painter.translate(0, -verticalOffset());
    fade_.paint(painter, clock_.elapsed());
    painter.translate(0, verticalOffset());
    if (!fading_.isActive()) fading_.start(fadingStep, this);
}

void RowListView::hideEvent(QHideEvent* event) {
    fade_.clear();
    fading_.stop();
    QAbstractItemView::hideEvent(event);
}

// --- Time ---

void RowListView::timerEvent(QTimerEvent* event) {
    if (event->timerId() == fading_.timerId()) {
        viewport()->update(fade_.region().translated(0, -verticalOffset()));
        if (!fade_.advance(clock_.elapsed())) fading_.stop();
        return;
    }
    if (event->timerId() != animation_.timerId()) return QAbstractItemView::timerEvent(event);
    const std::vector<int> moving = animatedRows_;
    bool isSeen = false;
    for (const int row : moving) {
        const RowContent content = rows_->contentAt(row);
        const QRect rect = rowRect(row).intersected(viewport()->rect());
        isSeen = isSeen || !rect.isEmpty();
        const bool hasMovingBar = content.progress && !content.progress->fraction;
        viewport()->update(hasMovingBar ? rect : RowPainter(*this).symbolRect(rowRect(row), content));
    }
    if (isSeen && isVisible()) return;
    animatedRows_.clear();
    animation_.stop();
}

void RowListView::setInert(bool isInert) {
    if (std::exchange(isInert_, isInert) == isInert) return;
    pressed_ = {};
    viewport()->update();
}

void RowListView::setDropRow(int row) {
    if (row == dropRow_) return;
    updateRow(dropRow_);
    dropRow_ = row;
    updateRow(dropRow_);
}

void RowListView::updateRow(int row) {
    viewport()->update(rowRect(row));
}

void RowListView::changeEvent(QEvent* event) {
    QAbstractItemView::changeEvent(event);
    if (event->type() == QEvent::FontChange) doItemsLayout();  // the heights come from it
    viewport()->update();
}

}  // namespace tovri
