#include "downloads/list/DownloadList.h"

#include <algorithm>
#include <utility>

namespace tovri {

DownloadPointer DownloadList::find(const UUID& id) const {
    const auto found = std::ranges::find(items_, id, [](const DownloadPointer& item) { return item->id; });
    return found == items_.end() ? nullptr : *found;
}

std::optional<std::size_t> DownloadList::indexOf(const Download& item) const {
    const auto found = std::ranges::lower_bound(items_, item.position, {},
                                                [](const DownloadPointer& other) { return other->position; });
    if (found == items_.end() || found->get() != &item) return std::nullopt;
    return static_cast<std::size_t>(found - items_.begin());
}

void DownloadList::insertOnTop(std::vector<DownloadPointer> items) {
    if (items.empty()) return;
    std::int64_t position = (items_.empty() ? 0 : items_.front()->position) - static_cast<std::int64_t>(items.size());
    for (const DownloadPointer& item : items) {
        item->position = position++;
        indexFor(item->status).insert(item);
    }
    const DownloadPointer single = items.size() == 1 ? items.front() : nullptr;
    items_.insert(items_.begin(), std::move_iterator(items.begin()), std::move_iterator(items.end()));
    changes_.tell({QueueChange::Kind::inserted, single});
}

void DownloadList::append(std::vector<DownloadPointer> items) {
    if (items.empty()) return;
    std::int64_t position = items_.empty() ? 0 : items_.back()->position;
    for (DownloadPointer& item : items) {
        item->position = ++position;
        Index& index = indexFor(item->status);
        index.insert(index.end(), item);
        items_.push_back(std::move(item));
    }
    changes_.tell({QueueChange::Kind::inserted, nullptr});
}

void DownloadList::remove(const Download& item) {
    const auto at = indexOf(item);
    if (!at) return;
    const DownloadPointer removed = items_[*at];
    indexFor(removed->status).erase(removed);
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(*at));
    changes_.tell({QueueChange::Kind::removed, removed});
}

void DownloadList::removeFinished() {
    const std::size_t before = items_.size();
    std::erase_if(items_, [](const DownloadPointer& item) { return isFinished(item->status); });
    if (items_.size() == before) return;
    for (std::size_t status = 0; status < downloadStatusCount; ++status)
        if (isFinished(static_cast<Download::Status>(status))) byStatus_[status].clear();
    changes_.tell({QueueChange::Kind::removed, nullptr});
}

void DownloadList::swapNeighbours(std::size_t upper) {
    DownloadPointer& above = items_[upper];
    DownloadPointer& below = items_[upper + 1];
    indexFor(above->status).erase(above);
    indexFor(below->status).erase(below);
    std::swap(above->position, below->position);
    std::swap(above, below);
    indexFor(above->status).insert(above);
    indexFor(below->status).insert(below);
}

bool DownloadList::moveUp(const Download& item) {
    const auto at = indexOf(item);
    if (!at || *at == 0) return false;
    const std::int64_t previous = item.position;
    swapNeighbours(*at - 1);
    changes_.tell({.kind = QueueChange::Kind::moved, .item = items_[*at - 1], .previousPosition = previous});
    return true;
}

bool DownloadList::moveDown(const Download& item) {
    const auto at = indexOf(item);
    if (!at || *at + 1 == items_.size()) return false;
    const std::int64_t previous = item.position;
    swapNeighbours(*at);
    changes_.tell({.kind = QueueChange::Kind::moved, .item = items_[*at + 1], .previousPosition = previous});
    return true;
}

bool DownloadList::moveToTop(const Download& item) {
    const auto at = indexOf(item);
    if (!at || *at == 0) return false;
    const DownloadPointer moved = items_[*at];
    indexFor(moved->status).erase(moved);
    const std::int64_t previous = std::exchange(moved->position, items_.front()->position - 1);
    std::rotate(items_.begin(), items_.begin() + static_cast<std::ptrdiff_t>(*at),
                items_.begin() + static_cast<std::ptrdiff_t>(*at) + 1);
    indexFor(moved->status).insert(moved);
    changes_.tell({.kind = QueueChange::Kind::moved, .item = moved, .previousPosition = previous});
    return true;
}

void DownloadList::setStatus(Download& item, Download::Status status) {
    if (item.status == status) return;
    const Download::Status previous = std::exchange(item.status, status);
    const auto at = indexOf(item);
    if (!at) return;
    auto node = indexFor(previous).extract(items_[*at]);
    indexFor(status).insert(std::move(node));
    changes_.tell({QueueChange::Kind::status, items_[*at], previous});
}

void DownloadList::tellProgress(const Download& item) const {
    if (!changes_.hasObservers()) return;
    if (const auto at = indexOf(item)) changes_.tell({QueueChange::Kind::progress, items_[*at]});
}

std::vector<DownloadPointer> DownloadList::withStatus(Download::Status status, std::size_t limit) const {
    const Index& index = indexFor(status);
    const auto end = std::ranges::next(index.begin(), static_cast<std::ptrdiff_t>(std::min(limit, index.size())));
    return {index.begin(), end};
}

std::vector<DownloadPointer> DownloadList::withStatus(std::initializer_list<Download::Status> statuses) const {
    std::vector<DownloadPointer> found;
    found.reserve(count(statuses));
    for (const Download::Status status : statuses)
        found.insert(found.end(), indexFor(status).begin(), indexFor(status).end());
    std::ranges::sort(found, HigherUp{});
    return found;
}

std::size_t DownloadList::count(Download::Status status) const {
    return indexFor(status).size();
}

std::size_t DownloadList::count(std::initializer_list<Download::Status> statuses) const {
    std::size_t sum = 0;
    for (const Download::Status status : statuses) sum += count(status);
    return sum;
}

}  // namespace tovri
