#include "screens/downloads/SectionRows.h"

#include <utility>

namespace tovri {

using Kind = ScreenChange::Kind;

void SectionRows::assign(std::vector<ConstDownloadPointer> items, Arrangement arrangement) {
    arrangement_ = arrangement;
    batches_.clear();
    ranks_.clear();
    itemCount_ = items.size();
    blocks_ = RankedTree<Block>(order());
    std::vector<RowPlace> places;
    places.reserve(items.size());
    for (ConstDownloadPointer& item : items) places.push_back(order().placeOf(std::move(item)));
    order().sort(places);
    if (order().hasRanks())
        for (const RowPlace& place : places) ranks_.emplace(place.item.get(), place.rank);
    if (arrangement_.isInBatches) return assignBatches(std::move(places));
    std::vector<Block> blocks;
    blocks.reserve(places.size());
    for (RowPlace& place : places) blocks.push_back({std::move(place)});
    blocks_.assign(std::move(blocks));
}

void SectionRows::assignBatches(std::vector<RowPlace> places) {
    std::vector<Block> blocks;
    std::unordered_map<Batch*, std::vector<Batch::Member>> members;
    for (RowPlace& place : places) {
        const std::optional<UUID>& id = place.item->batchID;
        if (!id) {
            blocks.push_back({std::move(place)});
            continue;
        }
        Batch* batch = batchOf(*place.item);
        if (!batch) {
            batch = &makeBatch(*id);
            batch->place = place;
            blocks.push_back({place, batch});
        }
        const BatchSums::Share share = shareOf(*place.item);
        batch->sums.add(share);
        members[batch].push_back({std::move(place), share});
    }
    for (auto& [batch, each] : members) batch->members.assign(std::move(each));
    blocks_.assign(std::move(blocks));
}

Batch* SectionRows::batchOf(const Download& item) const {
    if (!arrangement_.isInBatches || !item.batchID) return nullptr;
    const auto found = batches_.find(*item.batchID);
    return found == batches_.end() ? nullptr : found->second.get();
}

Batch& SectionRows::makeBatch(const UUID& id) {
    auto batch = std::make_unique<Batch>(
        Batch{.id = id, .isOpen = open_.contains(id), .members = RankedTree<Batch::Member>(order())});
    return *(batches_[id] = std::move(batch));
}

// --- Looking up ---

SectionRows::Row SectionRows::at(std::size_t row) const {
    const auto [block, within] = blocks_.at(row);
    if (!block.batch) return {block.place.item.get(), nullptr};
    if (within == 0) return {nullptr, block.batch};
    return {block.batch->members.at(within - 1).entry.place.item.get(), block.batch};
}

RowPlace SectionRows::placeOf(const ConstDownloadPointer& item, std::int64_t position) const {
    const auto rank = ranks_.find(item.get());
    return {rank == ranks_.end() ? 0 : rank->second, position, item};
}

bool SectionRows::contains(const RowPlace& place) const {
    const Batch* batch = batchOf(*place.item);
    return batch ? batch->members.contains(place) : blocks_.contains(place);
}

std::optional<std::size_t> SectionRows::rowOf(const RowPlace& place) const {
    if (!contains(place)) return std::nullopt;
    const Batch* batch = batchOf(*place.item);
    if (!batch) return blocks_.rowOf(place);
    if (!batch->isOpen) return std::nullopt;
    return blocks_.rowOf(batch->place) + 1 + batch->members.rowOf(place);
}

std::optional<std::size_t> SectionRows::batchRowOf(const Download& item) const {
    const Batch* batch = batchOf(item);
    return batch ? std::optional(blocks_.rowOf(batch->place)) : std::nullopt;
}

// --- Coming and going ---

std::optional<ScreenChange> SectionRows::makeRoom(const RowPlace& place) {
    if (!arrangement_.isInBatches || !place.item->batchID) return std::nullopt;
    Batch* batch = batchOf(*place.item);
    if (batch) return order().isBefore(place, batch->place) ? moveTo(*batch, place) : std::nullopt;
    batch = &makeBatch(*place.item->batchID);
    batch->place = place;
    blocks_.insert({place, batch});
    return ScreenChange{Kind::inserted, blocks_.rowOf(place), 1};
}

// Only some of the batch's items may have gone, so often it stays among the same rows.
std::optional<ScreenChange> SectionRows::moveTo(Batch& batch, const RowPlace& place) {
    const std::size_t from = blocks_.rowOf(batch.place);
    blocks_.erase(batch.place);
    batch.place = place;
    blocks_.insert({place, &batch});
    const std::size_t to = blocks_.rowOf(place);
    if (to == from) return std::nullopt;
    return ScreenChange{Kind::moved, from, batch.rows(), to};
}

std::optional<std::size_t> SectionRows::put(const RowPlace& place) {
    ++itemCount_;
    if (order().hasRanks()) ranks_[place.item.get()] = place.rank;
    Batch* batch = batchOf(*place.item);
    if (batch) {
        const BatchSums::Share share = shareOf(*place.item);
        batch->sums.add(share);
        batch->members.insert({place, share});
        if (batch->isOpen) blocks_.countRows(batch->place);
    } else {
        blocks_.insert({place});
    }
    return rowOf(place);
}

std::optional<std::size_t> SectionRows::take(const RowPlace& place) {
    const std::optional<std::size_t> row = rowOf(place);
    --itemCount_;
    ranks_.erase(place.item.get());
    if (Batch* batch = batchOf(*place.item)) {
        batch->sums.subtract(batch->members.erase(place).share);
        if (batch->isOpen) blocks_.countRows(batch->place);
    } else {
        blocks_.erase(place);
    }
    return row;
}

std::optional<ScreenChange> SectionRows::tidyUp(const Download& item) {
    Batch* batch = batchOf(item);
    if (!batch) return std::nullopt;
    if (batch->members.size() > 0) {
        const RowPlace first = batch->members.first().place;
        const bool isThere = !order().isBefore(first, batch->place) && !order().isBefore(batch->place, first);
        return isThere ? std::nullopt : moveTo(*batch, first);
    }
    const std::size_t row = blocks_.rowOf(batch->place);
    blocks_.erase(batch->place);
    batches_.erase(*item.batchID);
    return ScreenChange{Kind::removed, row, 1};
}

void SectionRows::refresh(const RowPlace& place) {
    Batch* batch = batchOf(*place.item);
    Batch::Member* member = batch ? batch->members.find(place) : nullptr;
    if (!member) return;
    batch->sums.subtract(member->share);
    batch->sums.add(member->share = shareOf(*place.item));
}

std::optional<ScreenChange> SectionRows::setOpen(std::size_t row, bool isOpen) {
    const Row found = at(row);
    if (found.item || found.batch->isOpen == isOpen) return std::nullopt;
    Batch& batch = *batches_.at(found.batch->id);
    batch.isOpen = isOpen;
    if (isOpen)
        open_.insert(batch.id);
    else
        open_.erase(batch.id);
    blocks_.countRows(batch.place);
    return ScreenChange{isOpen ? Kind::inserted : Kind::removed, row + 1, batch.members.rows()};
}

}  // namespace tovri
