#include "screens/downloads/RowOrder.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <utility>

#include "downloads/list/ListedName.h"

namespace tovri {
namespace {

std::int64_t rankOf(DownloadStatus status) {
    switch (status) {
        case DownloadStatus::failed:
            return 0;
        case DownloadStatus::remoteDeleteFailed:
            return 1;
        case DownloadStatus::skipped:
            return 3;
        case DownloadStatus::cancelled:
            return 4;
        default:
            return 5;
    }
}

std::int64_t newestFirst(const std::optional<Timestamp>& time) {
    return time ? -std::int64_t{time->time_since_epoch().count()} : INT64_MAX;
}

}  // namespace

std::int64_t RowOrder::rankOf(const Download& item) const {
    switch (kind_) {
        case FinishedOrder::time:
            return newestFirst(item.completedAt);
        case FinishedOrder::size:
            return -item.expectedSize();
        case FinishedOrder::state:
            return item.isDoubtful() ? 2 : tovri::rankOf(item.status);
        case FinishedOrder::queue:
        case FinishedOrder::name:
            return 0;
    }
    return 0;
}

RowPlace RowOrder::placeOf(ConstDownloadPointer item) const {
    const std::int64_t rank = rankOf(*item);
    const std::int64_t position = item->position;
    return {rank, position, std::move(item)};
}

bool RowOrder::isBefore(const RowPlace& one, const RowPlace& other) const {
    if (one.rank != other.rank) return one.rank < other.rank;
    if (kind_ == FinishedOrder::name && one.item != other.item) {
        const int names =
            collation_->sortKey(listedName(*one.item)).compare(collation_->sortKey(listedName(*other.item)));
        if (names != 0) return names < 0;
    }
    if (one.position != other.position) return one.position < other.position;
    return std::less<>()(one.item.get(), other.item.get());
}

void RowOrder::sort(std::vector<RowPlace>& places) const {
    if (kind_ == FinishedOrder::name) return sortByName(places);
    if (hasRanks())
        std::ranges::sort(places, [this](const auto& one, const auto& other) { return isBefore(one, other); });
}

// With the key of each name made once.
void RowOrder::sortByName(std::vector<RowPlace>& places) const {
    std::vector<std::pair<std::string, RowPlace>> named;
    named.reserve(places.size());
    for (RowPlace& place : places) {
        std::string key = collation_->sortKey(listedName(*place.item));
        named.emplace_back(std::move(key), std::move(place));
    }
    std::ranges::sort(named, [](const auto& one, const auto& other) {
        const int names = one.first.compare(other.first);
        return names != 0 ? names < 0 : one.second.position < other.second.position;
    });
    std::ranges::transform(named, places.begin(), [](auto& each) { return std::move(each.second); });
}

}  // namespace tovri
