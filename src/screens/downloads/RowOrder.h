#pragma once

#include <cstdint>
#include <vector>

#include "downloads/list/Download.h"
#include "platform/TextCollation.h"
#include "settings/FinishedOrder.h"

namespace tovri {

// Where an item stands among others. It stays as it was when it was taken, whatever becomes of the item.
struct RowPlace {
    std::int64_t rank = 0;  // the smallest first; 0 for all where ranks do not decide
    std::int64_t position = 0;
    ConstDownloadPointer item;
};

// An order of downloads. Those that it finds equal stand as in the queue.
class RowOrder {
public:
    // The queue's.
    RowOrder() = default;

    // `collation` outlives the order.
    RowOrder(FinishedOrder kind, const TextCollation& collation) : kind_(kind), collation_(&collation) {}

    [[nodiscard]] FinishedOrder kind() const { return kind_; }

    // Whether a place has a rank, which may change as long as the item is in the list.
    [[nodiscard]] bool hasRanks() const { return kind_ != FinishedOrder::queue && kind_ != FinishedOrder::name; }

    [[nodiscard]] RowPlace placeOf(ConstDownloadPointer item) const;

    // Two places of one item are told apart, too. Half-way through a change two items may have one position.
    [[nodiscard]] bool isBefore(const RowPlace& one, const RowPlace& other) const;

    // The places come as the queue has them.
    void sort(std::vector<RowPlace>& places) const;

private:
    [[nodiscard]] std::int64_t rankOf(const Download& item) const;
    void sortByName(std::vector<RowPlace>& places) const;

    FinishedOrder kind_ = FinishedOrder::queue;
    const TextCollation* collation_ = nullptr;
};

}  // namespace tovri
