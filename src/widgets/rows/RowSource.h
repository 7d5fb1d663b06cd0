#pragma once

#include <QString>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "widgets/rows/RowContent.h"

namespace tovri {

// What makes a row the same one after a reset: a UUID, or a number in `low`. Of its own in the list.
struct RowKey {
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    auto operator<=>(const RowKey&) const = default;
};

// A screen's rows, as the model reads them. All but contentAt() are asked for every row and must be quick.
class RowSource {
public:
    virtual ~RowSource() = default;

    [[nodiscard]] virtual std::size_t rowCount() const = 0;
    [[nodiscard]] virtual RowKey keyAt(std::size_t row) const = 0;
    [[nodiscard]] virtual RowShape shapeAt(std::size_t row) const = 0;
    [[nodiscard]] virtual QString titleAt(std::size_t row) const = 0;
    [[nodiscard]] virtual RowContent contentAt(std::size_t row) const = 0;
};

}  // namespace tovri

template <>
struct std::hash<tovri::RowKey> {
    std::size_t operator()(const tovri::RowKey& key) const noexcept {
        return (key.low * 0x9E3779B97F4A7C15U) ^ key.high;  // numbers that follow each other go apart
    }
};
