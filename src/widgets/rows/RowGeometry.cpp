#include "widgets/rows/RowGeometry.h"

#include <algorithm>

#include "widgets/rows/RowModel.h"

namespace tovri {

int RowHeights::of(RowShape shape) const {
    switch (shape) {
        case RowShape::header:
            return measures::headerHeight;
        case RowShape::plain:
            return plain;
        case RowShape::progress:
            return progress;
    }
    return plain;
}

void RowGeometry::read(const RowModel& model, const RowHeights& heights) {
    heights_ = heights;
    const int count = model.rowCount();
    tops_.resize(static_cast<std::size_t>(count) + 1);
    headers_.clear();
    int y = 0;
    for (int row = 0; row < count; ++row) {
        tops_[static_cast<std::size_t>(row)] = y;
        const RowShape shape = model.shapeAt(row);
        if (shape == RowShape::header) headers_.push_back(row);
        y += heights.of(shape);
    }
    tops_.back() = y;
}

int RowGeometry::rowAt(int y) const {
    if (y < 0 || y >= totalHeight()) return -1;
    return static_cast<int>(std::ranges::upper_bound(tops_, y) - tops_.begin()) - 1;
}

int RowGeometry::headerOf(int row) const {
    const auto after = std::ranges::upper_bound(headers_, row);
    return after == headers_.begin() ? -1 : *(after - 1);
}

int RowGeometry::headerAfter(int row) const {
    const auto after = std::ranges::upper_bound(headers_, row);
    return after == headers_.end() ? -1 : *after;
}

}  // namespace tovri
