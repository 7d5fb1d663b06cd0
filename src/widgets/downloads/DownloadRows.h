#pragma once

#include "screens/downloads/DownloadsScreen.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// The rows of the downloads screen, as a RowModel reads them.
class DownloadRows final : public RowSource {
public:
    // `screen` outlives this.
    explicit DownloadRows(const DownloadsScreen& screen) : screen_(screen) {}

    [[nodiscard]] std::size_t rowCount() const override { return screen_.rowCount(); }

    [[nodiscard]] RowKey keyAt(std::size_t row) const override;
    [[nodiscard]] RowShape shapeAt(std::size_t row) const override;
    [[nodiscard]] QString titleAt(std::size_t row) const override;
    [[nodiscard]] RowContent contentAt(std::size_t row) const override;

private:
    const DownloadsScreen& screen_;
};

}  // namespace tovri
