#pragma once

#include <utility>
#include <vector>

#include "widgets/rows/RowSource.h"

namespace tovri {

// Rows as a test lists them; the key of each is its number.
class ListedRows final : public RowSource {
public:
    struct Row {
        std::uint64_t number = 0;
        RowContent content = {};
    };

    ListedRows() = default;

    explicit ListedRows(std::vector<Row> listed) : rows(std::move(listed)) {}

    [[nodiscard]] std::size_t rowCount() const override { return rows.size(); }

    [[nodiscard]] RowKey keyAt(std::size_t row) const override { return {0, rows[row].number}; }

    [[nodiscard]] RowShape shapeAt(std::size_t row) const override { return rows[row].content.shape; }

    [[nodiscard]] QString titleAt(std::size_t row) const override { return rows[row].content.title; }

    [[nodiscard]] RowContent contentAt(std::size_t row) const override {
        ++contentsRead;
        return rows[row].content;
    }

    std::vector<Row> rows;
    mutable int contentsRead = 0;
};

inline ListedRows::Row plainRow(std::uint64_t number) {
    return {number, {.symbol = "doc", .title = QStringLiteral("Row %1").arg(number)}};
}

inline ListedRows::Row headerRow(std::uint64_t number, const QString& title) {
    return {number, {.shape = RowShape::header, .title = title}};
}

}  // namespace tovri
