#pragma once

#include "screens/feeds/RSSFeedsScreen.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// The rows of the feeds screen, as a RowModel reads them.
class RSSFeedRows final : public RowSource {
public:
    // `screen` outlives this.
    explicit RSSFeedRows(const RSSFeedsScreen& screen) : screen_(screen) {}

    [[nodiscard]] std::size_t rowCount() const override { return screen_.rows().size(); }

    [[nodiscard]] RowKey keyAt(std::size_t row) const override;

    [[nodiscard]] RowShape shapeAt(std::size_t /*row*/) const override { return RowShape::plain; }

    [[nodiscard]] QString titleAt(std::size_t row) const override;
    [[nodiscard]] RowContent contentAt(std::size_t row) const override;

private:
    const RSSFeedsScreen& screen_;
};

}  // namespace tovri
