#include "widgets/rows/RowListView.h"

#include <QScrollBar>
#include <algorithm>
#include <map>

#include "widgets/rows/RowAccessibility.h"
#include "widgets/theme/Measures.h"

namespace tovri {
RowListView::RowListView(QWidget* parent) : QAbstractItemView(parent) {
    makeRowListsAccessible();
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setVerticalScrollMode(ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    viewport()->setMouseTracking(true);
    viewport()->setAttribute(Qt::WA_Hover);
    clock_.start();
    connect(this, &QAbstractItemView::doubleClicked, this, &RowListView::opened);
}

void RowListView::setModel(QAbstractItemModel* model) {
    if (rows_ != nullptr) disconnect(rows_, nullptr, this, nullptr);
    forgetRows();
    rows_ = qobject_cast<RowModel*>(model);
    Q_ASSERT(model == nullptr || rows_ != nullptr);
    if (rows_ != nullptr) {
        connect(rows_, &QObject::destroyed, this, &RowListView::forgetRows);
        // Before the base class hears of the change, and after.
        connect(rows_, &QAbstractItemModel::rowsAboutToBeInserted, this, &RowListView::keepAnchors);
        connect(rows_, &QAbstractItemModel::rowsAboutToBeRemoved, this, &RowListView::keepAnchors);
        connect(rows_, &QAbstractItemModel::rowsAboutToBeMoved, this, &RowListView::keepAnchors);
        connect(rows_, &QAbstractItemModel::layoutAboutToBeChanged, this, &RowListView::keepAnchors);
        const auto layOutAgain = [this] {
            isGeometryOld_ = true;
            scheduleDelayedItemsLayout();
        };
        connect(rows_, &QAbstractItemModel::rowsInserted, this, layOutAgain);
        connect(rows_, &QAbstractItemModel::rowsRemoved, this, layOutAgain);
        connect(rows_, &QAbstractItemModel::rowsMoved, this, layOutAgain);
        connect(rows_, &QAbstractItemModel::layoutChanged, this, layOutAgain);
    }
    QAbstractItemView::setModel(model);
}

void RowListView::forgetRows() {
    rows_ = nullptr;
    geometry_ = {};
    isGeometryOld_ = true;
    anchors_.clear();
    animatedRows_.clear();
    pressed_ = {};
    fade_.clear();
}

std::vector<int> RowListView::selectedRows() const {
    std::vector<int> found;
    if (selectionModel() == nullptr) return found;
    for (const QModelIndex& index : selectionModel()->selectedIndexes()) found.push_back(index.row());
    std::ranges::sort(found);
    return found;
}

// --- Where things are ---

const RowGeometry& RowListView::geometry() const {
    if (isGeometryOld_ && rows_ != nullptr) {
        geometry_.read(*rows_, RowPainter(*this).heights());
        isGeometryOld_ = false;
    }
    return geometry_;
}

QRect RowListView::rowRect(int row) const {
    if (row < 0 || row >= geometry().rowCount()) return {};
    return {0, geometry().top(row) - verticalOffset(), viewport()->width(), geometry().height(row)};
}

QRect RowListView::visualRect(const QModelIndex& index) const {
    return index.isValid() ? rowRect(index.row()) : QRect();
}

QModelIndex RowListView::indexAt(const QPoint& point) const {
    const int row = spotAt(point).row;
    return row < 0 || rows_->shapeAt(row) == RowShape::header ? QModelIndex() : rows_->index(row);
}

RowListView::Spot RowListView::spotAt(const QPoint& point) const {
    if (rows_ == nullptr || !viewport()->rect().contains(point)) return {};
    const int row = geometry().rowAt(point.y() + verticalOffset());
    if (row < 0) return {};
    const int header = geometry().headerOf(geometry().rowAt(verticalOffset()));
    if (header >= 0 && point.y() < measures::headerHeight) return {};  // the sticky header covers it
    return {row, RowPainter(*this).buttonAt(rowRect(row), rows_->contentAt(row), point)};
}

int RowListView::verticalOffset() const {
    return verticalScrollBar()->value();
}

QRect RowListView::buttonRect(int row, int button) const {
    if (rows_ == nullptr) return {};
    return RowPainter(*this).buttonRect(rowRect(row), rows_->contentAt(row), button);
}

void RowListView::updateGeometries() {
    const int height = viewport()->height();
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setSingleStep(geometry().heights().plain);
    verticalScrollBar()->setRange(0, std::max(0, geometry().totalHeight() - height));
    QAbstractItemView::updateGeometries();
}

void RowListView::resizeEvent(QResizeEvent* event) {
    QAbstractItemView::resizeEvent(event);
    updateGeometries();
}

void RowListView::scrollTo(const QModelIndex& index, ScrollHint hint) {
    if (!index.isValid() || index.row() >= geometry().rowCount()) return;
    const int page = viewport()->height();
    const int top = geometry().top(index.row());
    const int bottom = top + geometry().height(index.row());
    const int covered = geometry().headerOf(index.row()) >= 0 ? measures::headerHeight : 0;
    const int offset = verticalOffset();
    if (hint == PositionAtTop || (hint == EnsureVisible && top - covered < offset))
        verticalScrollBar()->setValue(top - covered);
    else if (hint == PositionAtBottom || (hint == EnsureVisible && bottom > offset + page))
        verticalScrollBar()->setValue(bottom - page);
    else if (hint == PositionAtCenter)
        verticalScrollBar()->setValue((top + bottom - page) / 2);
}

// All of it: the sticky header does not scroll along.
void RowListView::scrollContentsBy(int, int) {
    hover(spotAt(viewport()->mapFromGlobal(QCursor::pos())));
    viewport()->update();
}

// --- Changes of the rows ---

void RowListView::keepAnchors() {
    if (!anchors_.empty() || isGeometryOld_ || rows_ == nullptr || verticalOffset() == 0) return;
    int row = geometry().rowAt(verticalOffset() + measures::headerHeight);  // below the sticky header
    for (; row >= 0 && row < geometry().rowCount() && rowRect(row).top() < viewport()->height(); ++row)
        if (rows_->shapeAt(row) != RowShape::header) anchors_.push_back({rows_->index(row), rowRect(row).top()});
}

// Scrolls by what most of the rows in sight have moved: one that went to another section does not take the view along.
void RowListView::returnToAnchors() {
    std::map<int, int> votes;
    for (const Anchor& anchor : anchors_)
        if (anchor.row.isValid()) ++votes[rowRect(anchor.row.row()).top() - anchor.offset];
    anchors_.clear();
    if (votes.empty()) return;
    const auto most = std::ranges::max_element(votes, {}, [](const auto& vote) { return vote.second; });
    verticalScrollBar()->setValue(verticalOffset() + most->first);
}

void RowListView::doItemsLayout() {
    isGeometryOld_ = true;
    const int offset = verticalOffset();
    const int height = viewport()->height();
    verticalScrollBar()->setRange(0, std::max(0, geometry().totalHeight() - height));
    returnToAnchors();
    fadeWhatLeft(verticalOffset() - offset);
    hovered_ = viewport()->underMouse() ? spotAt(viewport()->mapFromGlobal(QCursor::pos())) : Spot();
    QAbstractItemView::doItemsLayout();
}

void RowListView::dataChanged(const QModelIndex& first, const QModelIndex& last, const QList<int>&) {
    const int end = std::min(last.row(), geometry().rowCount() - 1);
    bool hasOtherHeights = false;
    for (int row = first.row(); row <= end && !hasOtherHeights; ++row)
        hasOtherHeights = geometry().height(row) != geometry().heights().of(rows_->shapeAt(row));
    if (hasOtherHeights) {
        keepAnchors();
        isGeometryOld_ = true;
        scheduleDelayedItemsLayout();
        return;
    }
    const QRect changed = rowRect(first.row()).united(rowRect(end));
    viewport()->update(changed.intersected(viewport()->rect()));
}

// One that comes up to the place of the current row is current then, and selected where that was alone. Of many at once
// none is.
void RowListView::rowsAboutToBeRemoved(const QModelIndex& parent, int first, int last) {
    QAbstractItemView::rowsAboutToBeRemoved(parent, first, last);
    const int current = currentIndex().isValid() ? currentIndex().row() : -1;
    if (current < first || current > last) return;
    int next = first == last ? nextSelectable(last + 1, 1) : -1;
    if (next < 0 && first == last) next = nextSelectable(first - 1, -1);
    const bool isAlone = selectedRows() == std::vector{current};
    const auto command = isAlone ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
    selectionModel()->setCurrentIndex(next < 0 ? QModelIndex() : rows_->index(next), command);
}

void RowListView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    focusedButton_ = RowLook::noButton;
    updateRow(previous.row());
    updateRow(current.row());
    QAbstractItemView::currentChanged(current, previous);
}

// --- Selection ---

int RowListView::nextSelectable(int row, int step) const {
    const int count = rows_->rowCount();
    while (row >= 0 && row < count && rows_->shapeAt(row) == RowShape::header) row += step;
    return row >= 0 && row < count ? row : -1;
}

QModelIndex RowListView::moveCursor(CursorAction action, Qt::KeyboardModifiers) {
    if (rows_ == nullptr || geometry().rowCount() == 0) return {};
    const int count = geometry().rowCount();
    const int current = currentIndex().isValid() ? currentIndex().row() : -1;
    const auto index = [&](int row) { return row < 0 ? currentIndex() : rows_->index(row); };
    const auto page = [&](int way) {
        const int y = geometry().top(std::max(current, 0)) + way * (viewport()->height() - geometry().heights().plain);
        return geometry().rowAt(std::clamp(y, 0, geometry().totalHeight() - 1));
    };
    switch (action) {
        case MoveHome:
            return index(nextSelectable(0, 1));
        case MoveEnd:
            return index(nextSelectable(count - 1, -1));
        case MovePageUp:
            return index(nextSelectable(page(-1), 1));
        case MovePageDown:
            return index(nextSelectable(page(1), -1));
        case MoveUp:
        case MovePrevious:
            return index(nextSelectable(current < 0 ? 0 : current - 1, current < 0 ? 1 : -1));
        case MoveDown:
        case MoveNext:
            return index(nextSelectable(current + 1, 1));
        case MoveLeft:
        case MoveRight:
            return currentIndex();
    }
    return {};
}

void RowListView::setSelection(const QRect& rect, QItemSelectionModel::SelectionFlags command) {
    if (rows_ == nullptr || selectionModel() == nullptr) return;
    const QRect area = rect.normalized();
    const int last = geometry().totalHeight() - 1;
    const int from = geometry().rowAt(std::max(area.top() + verticalOffset(), 0));
    const int to = geometry().rowAt(std::min(area.bottom() + verticalOffset(), last));
    QItemSelection selection;
    if (from >= 0 && to >= from) selection.select(rows_->index(from), rows_->index(to));
    selectionModel()->select(selection, command);
}

QRegion RowListView::visualRegionForSelection(const QItemSelection& selection) const {
    QRegion region;
    for (const QItemSelectionRange& range : selection)
        region += rowRect(range.top()).united(rowRect(range.bottom())).intersected(viewport()->rect());
    return region;
}

}  // namespace tovri
