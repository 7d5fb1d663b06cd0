#pragma once

#include "screens/transfers/TransfersScreen.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// The rows of the transfers screen, as a RowModel reads them.
class TransferRows final : public RowSource {
public:
    // `screen` outlives this.
    explicit TransferRows(const TransfersScreen& screen) : screen_(screen) {}

    [[nodiscard]] std::size_t rowCount() const override { return screen_.rows().size(); }

    [[nodiscard]] RowKey keyAt(std::size_t row) const override;
    [[nodiscard]] RowShape shapeAt(std::size_t row) const override;
    [[nodiscard]] QString titleAt(std::size_t row) const override;
    [[nodiscard]] RowContent contentAt(std::size_t row) const override;

private:
    const TransfersScreen& screen_;
};

}  // namespace tovri
