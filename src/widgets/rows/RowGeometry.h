#pragma once

#include <cstdint>
#include <vector>

#include "widgets/rows/RowContent.h"

namespace tovri {

class RowModel;

// As designed, or as high as its texts where the font is large. Headers have room for any font.
struct RowHeights {
    int plain = measures::rowHeight;
    int progress = measures::progressRowHeight;

    [[nodiscard]] int of(RowShape shape) const;
};

// Where the rows of a model stand below each other, and which header is above each. Read anew in one pass over the
// shapes; answers in the logarithm of their number.
class RowGeometry {
public:
    void read(const RowModel& model, const RowHeights& heights);

    [[nodiscard]] const RowHeights& heights() const { return heights_; }

    [[nodiscard]] int rowCount() const { return static_cast<int>(tops_.size()) - 1; }

    [[nodiscard]] int totalHeight() const { return tops_.back(); }

    // Of a row that exists.
    [[nodiscard]] int top(int row) const { return tops_[static_cast<std::size_t>(row)]; }

    [[nodiscard]] int height(int row) const { return top(row + 1) - top(row); }

    // -1 above the first and below the last.
    [[nodiscard]] int rowAt(int y) const;

    // The header of the row's section, the row itself if it is one; -1 without.
    [[nodiscard]] int headerOf(int row) const;

    // The header after that row, or -1.
    [[nodiscard]] int headerAfter(int row) const;

private:
    RowHeights heights_;
    std::vector<int> tops_ = {0};  // of each row, and the end
    std::vector<int> headers_;
};

}  // namespace tovri
