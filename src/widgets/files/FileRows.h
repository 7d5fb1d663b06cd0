#pragma once

#include "screens/files/FileBrowserScreen.h"
#include "widgets/rows/RowSource.h"

namespace tovri {

// The rows of the file browser, as a RowModel reads them.
class FileRows final : public RowSource {
public:
    // `screen` outlives this.
    explicit FileRows(const FileBrowserScreen& screen) : screen_(screen) {}

    [[nodiscard]] std::size_t rowCount() const override { return screen_.rowCount(); }

    [[nodiscard]] RowKey keyAt(std::size_t row) const override;

    [[nodiscard]] RowShape shapeAt(std::size_t /*row*/) const override { return RowShape::plain; }

    [[nodiscard]] QString titleAt(std::size_t row) const override;
    [[nodiscard]] RowContent contentAt(std::size_t row) const override;

private:
    const FileBrowserScreen& screen_;
};

}  // namespace tovri
