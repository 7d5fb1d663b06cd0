#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "screens/ScreenChange.h"
#include "screens/downloads/Batch.h"

namespace tovri {

// The rows of one section of the downloads below its header: items, and batches where items are shown in batches. A row
// counts from the section's first one. Each operation costs the logarithm of the section's length, but for assign() and
// what opens and closes.
//
// An item comes in two steps, so that each can be told: makeRoom() and put(). It goes in two likewise: take() and
// tidyUp().
class SectionRows {
public:
    struct Row {
        const Download* item = nullptr;  // null: the row is the batch's own
        const Batch* batch = nullptr;    // null: the item stands alone
    };

    struct Arrangement {
        bool isInBatches = false;
        RowOrder order;
    };

    [[nodiscard]] const RowOrder& order() const { return arrangement_.order; }

    // All rows anew, from the items in the order of the queue.
    void assign(std::vector<ConstDownloadPointer> items, Arrangement arrangement);

    [[nodiscard]] std::size_t rowCount() const { return blocks_.rows(); }

    [[nodiscard]] std::size_t itemCount() const { return itemCount_; }

    [[nodiscard]] Row at(std::size_t row) const;

    // Where an item was put that had that position in the queue then.
    [[nodiscard]] RowPlace placeOf(const ConstDownloadPointer& item, std::int64_t position) const;

    [[nodiscard]] bool contains(const RowPlace& place) const;

    // None for an item in a closed batch, or one that is not here.
    [[nodiscard]] std::optional<std::size_t> rowOf(const RowPlace& place) const;

    // None for an item that is in no batch.
    [[nodiscard]] std::optional<std::size_t> batchRowOf(const Download& item) const;

    // Makes sure that the item's batch is there, and stands where it will with the item.
    [[nodiscard]] std::optional<ScreenChange> makeRoom(const RowPlace& place);

    // The item's row from now on; none in a closed batch.
    std::optional<std::size_t> put(const RowPlace& place);

    // The row that the item had.
    std::optional<std::size_t> take(const RowPlace& place);

    // Lets the item's batch go where it has got empty, or to the place that it has without the item.
    [[nodiscard]] std::optional<ScreenChange> tidyUp(const Download& item);

    // The item has changed: the sums of its batch follow.
    void refresh(const RowPlace& place);

    // Of a row that is a batch's own. Nothing where it is so already.
    [[nodiscard]] std::optional<ScreenChange> setOpen(std::size_t row, bool isOpen);

private:
    // What stands among the section's rows: an item, or a batch.
    struct Block {
        RowPlace place;
        Batch* batch = nullptr;

        [[nodiscard]] std::size_t rows() const { return batch ? batch->rows() : 1; }
    };

    [[nodiscard]] Batch* batchOf(const Download& item) const;
    [[nodiscard]] Batch& makeBatch(const UUID& id);
    [[nodiscard]] std::optional<ScreenChange> moveTo(Batch& batch, const RowPlace& place);
    void assignBatches(std::vector<RowPlace> places);

    Arrangement arrangement_;
    RankedTree<Block> blocks_;
    std::unordered_map<UUID, std::unique_ptr<Batch>> batches_;
    std::unordered_set<UUID> open_;                            // batches, also those that are not here now
    std::unordered_map<const Download*, std::int64_t> ranks_;  // by which items stand, where the order has ranks
    std::size_t itemCount_ = 0;
};

}  // namespace tovri
