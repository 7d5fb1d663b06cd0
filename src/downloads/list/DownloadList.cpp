#include "downloads/list/DownloadList.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <string>
#include <utility>

namespace tovri {

ItemOrder::Iterator DownloadList::placeOf(const Download& item) const {
    const auto place = items_.at(item.position);
    return place == items_.end() || place->get() != &item ? items_.end() : place;
}

std::vector<ConstDownloadPointer> DownloadList::pointersTo(auto&& range) const {
    std::vector<ConstDownloadPointer> found;
    for (const Download* item : range) found.push_back(*placeOf(*item));
    return found;
}

std::vector<DownloadPointer> DownloadList::pointersTo(auto&& range) {
    std::vector<DownloadPointer> found;
    for (const Download* item : range) found.push_back(items_.changeable(placeOf(*item)));
    return found;
}

// --- Looking up ---

DownloadPointer DownloadList::changeable(const Download& item) {
    const auto place = placeOf(item);
    return place == items_.end() ? nullptr : items_.changeable(place);
}

ConstDownloadPointer DownloadList::find(const UUID& id) const {
    const auto found = byID_.find(id);
    return found == byID_.end() ? nullptr : *placeOf(*found->second);
}

DownloadPointer DownloadList::find(const UUID& id) {
    const ConstDownloadPointer found = std::as_const(*this).find(id);
    return found ? changeable(*found) : nullptr;
}

ConstDownloadPointer DownloadList::findAt(std::int64_t position) const {
    const auto place = items_.at(position);
    return place == items_.end() ? nullptr : *place;
}

std::vector<ConstDownloadPointer> DownloadList::ofRule(const UUID& rule, FileID fileID) const {
    const auto [first, last] = byRuleFile_.equal_range(RuleFile{rule, fileID});
    return pointersTo(std::ranges::subrange(first, last) | std::views::values);
}

std::vector<Download*> DownloadList::queued() const {
    std::vector<Download*> found(indexFor(Download::Status::queued).begin(), indexFor(Download::Status::queued).end());
    for (const auto& [what, items] : held_) found.insert(found.end(), items.begin(), items.end());
    std::ranges::sort(found, HigherUp{});
    return found;
}

// The same for both kinds of pointers.
auto DownloadList::withStatusIn(auto& list, Download::Status status, std::size_t limit) {
    if (status != Download::Status::queued || list.held_.empty())
        return list.pointersTo(list.indexFor(status) | std::views::take(limit));
    return list.pointersTo(list.queued() | std::views::take(limit));
}

std::vector<ConstDownloadPointer> DownloadList::withStatus(Download::Status status, std::size_t limit) const {
    return withStatusIn(*this, status, limit);
}

std::vector<DownloadPointer> DownloadList::withStatus(Download::Status status, std::size_t limit) {
    return withStatusIn(*this, status, limit);
}

auto DownloadList::withStatusIn(auto& list, std::initializer_list<Download::Status> statuses) {
    auto found = list.withStatus(Download::Status::queued, 0);
    found.reserve(list.count(statuses));
    for (const Download::Status status : statuses)
        std::ranges::move(list.withStatus(status), std::back_inserter(found));
    std::ranges::sort(found, HigherUp{});
    return found;
}

std::vector<ConstDownloadPointer> DownloadList::withStatus(std::initializer_list<Download::Status> statuses) const {
    return withStatusIn(*this, statuses);
}

std::vector<DownloadPointer> DownloadList::withStatus(std::initializer_list<Download::Status> statuses) {
    return withStatusIn(*this, statuses);
}

// --- Coming and going ---

void DownloadList::addToIndices(Download* item) {
    indexFor(*item).insert(item);
    byID_.emplace(item->id, item);
    if (item->syncRuleID) byRuleFile_.emplace(RuleFile{*item->syncRuleID, item->fileID}, item);
}

DownloadPointer DownloadList::takeOut(ItemOrder::Iterator place) {
    DownloadPointer taken = items_.erase(place);
    leaveIndex(*taken);
    const auto erase = [&taken](auto& index, const auto& key) {
        const auto [first, last] = index.equal_range(key);
        index.erase(std::ranges::find(first, last, taken.get(), [](const auto& entry) { return entry.second; }));
    };
    erase(byID_, taken->id);
    if (taken->syncRuleID) erase(byRuleFile_, RuleFile{*taken->syncRuleID, taken->fileID});
    return taken;
}

void DownloadList::insertOnTop(std::vector<DownloadPointer> items) {
    if (items.empty()) return;
    const DownloadPointer single = items.size() == 1 ? items.front() : nullptr;
    for (DownloadPointer& item : items | std::views::reverse) {
        Download* const added = item.get();
        items_.pushFront(std::move(item));
        addToIndices(added);
    }
    changes_.tell({QueueChange::Kind::inserted, single});
}

void DownloadList::append(std::vector<DownloadPointer> items) {
    if (items.empty()) return;
    byID_.reserve(items_.size() + items.size());
    for (DownloadPointer& item : items) {
        Download* const added = item.get();
        items_.pushBack(std::move(item));
        addToIndices(added);
    }
    changes_.tell({QueueChange::Kind::inserted, nullptr});
}

void DownloadList::putBack(const DownloadPointer& item) {
    items_.putBack(item);
    addToIndices(item.get());
    changes_.tell({QueueChange::Kind::inserted, item});
}

DownloadPointer DownloadList::remove(const Download& item) {
    const auto place = placeOf(item);
    if (place == items_.end()) return nullptr;
    DownloadPointer removed = takeOut(place);
    changes_.tell({QueueChange::Kind::removed, removed});
    return removed;
}

void DownloadList::removeFinished() {
    const std::size_t before = items_.size();
    for (std::size_t status = 0; status < downloadStatusCount; ++status) {
        if (!isFinished(static_cast<Download::Status>(status))) continue;
        while (!byStatus_[status].empty()) takeOut(placeOf(**byStatus_[status].begin()));
    }
    if (items_.size() != before) changes_.tell({QueueChange::Kind::removed, nullptr});
}

// --- Order ---

void DownloadList::swap(ItemOrder::Iterator a, ItemOrder::Iterator b) {
    const DownloadPointer moved[] = {items_.changeable(a), items_.changeable(b)};
    for (const DownloadPointer& item : moved) leaveIndex(*item);
    items_.swap(a, b);
    for (const DownloadPointer& item : moved) indexFor(*item).insert(item.get());
}

bool DownloadList::moveUp(const Download& item) {
    const auto place = placeOf(item);
    if (place == items_.end() || place == items_.begin()) return false;
    const std::int64_t previous = item.position;
    const auto above = std::prev(place);
    swap(above, place);
    changes_.tell({.kind = QueueChange::Kind::moved, .item = *above, .previousPosition = previous});
    return true;
}

bool DownloadList::moveDown(const Download& item) {
    const auto place = placeOf(item);
    if (place == items_.end() || std::next(place) == items_.end()) return false;
    const std::int64_t previous = item.position;
    const auto below = std::next(place);
    swap(place, below);
    changes_.tell({.kind = QueueChange::Kind::moved, .item = *below, .previousPosition = previous});
    return true;
}

bool DownloadList::moveToTop(const Download& item) {
    const auto place = placeOf(item);
    if (place == items_.end() || place == items_.begin()) return false;
    const std::int64_t previous = item.position;
    const DownloadPointer moved = items_.changeable(place);
    leaveIndex(*moved);
    items_.pushFront(items_.erase(place));
    indexFor(*moved).insert(moved.get());
    changes_.tell({.kind = QueueChange::Kind::moved, .item = moved, .previousPosition = previous});
    return true;
}

// --- Statuses ---

void DownloadList::take(Download& item, StatusStep step) {
    const auto status = target(step, item.status);
    if (!status && forbidden_)
        forbidden_("No step \"" + std::string(name(step)) + "\" leads on from " + std::string(rawValue(item.status)));
    if (!status || item.status == *status) return;
    const auto place = placeOf(item);
    if (place != items_.end()) leaveIndex(item);
    const Download::Status previous = std::exchange(item.status, *status);
    if (step != StatusStep::hold) item.hold.reset();
    if (place == items_.end()) return;
    indexFor(item).insert(&item);
    changes_.tell({QueueChange::Kind::status, *place, previous});
}

// --- Holds ---

void DownloadList::hold(Download& item, HoldPointer why) {
    if (item.status == Download::Status::queued) return setHold(item, std::move(why));
    item.hold = std::move(why);
    take(item, StatusStep::hold);
}

void DownloadList::wait(Download& item, HoldPointer why) {
    if (item.status != Download::Status::downloading || (!why && !item.hold)) return;
    const bool isSame = why && item.hold && why->text == item.hold->text;
    item.hold = std::move(why);
    tellOf(item, isSame ? QueueChange::Kind::progress : QueueChange::Kind::hold);
}

void DownloadList::release(Download& item) {
    if (isHeld(item)) setHold(item, nullptr);
}

void DownloadList::setHold(Download& item, HoldPointer why) {
    const auto place = placeOf(item);
    if (place != items_.end()) leaveIndex(item);
    item.hold = std::move(why);
    if (place == items_.end()) return;
    indexFor(item).insert(&item);
    changes_.tell({QueueChange::Kind::hold, *place});
}

void DownloadList::leaveIndex(Download& item) {
    Index& index = indexFor(item);
    index.erase(&item);
    if (isHeld(item) && index.empty()) held_.erase(item.hold->what);
}

ConstDownloadPointer DownloadList::nextCandidate() const {
    const Index& queued = indexFor(Download::Status::queued);
    return queued.empty() ? nullptr : *placeOf(**queued.begin());
}

std::vector<DownloadPointer> DownloadList::candidates(std::size_t limit) {
    return pointersTo(indexFor(Download::Status::queued) | std::views::take(limit));
}

std::vector<std::string> DownloadList::holds() const {
    const auto whats = std::views::keys(held_);
    return {whats.begin(), whats.end()};
}

std::vector<DownloadPointer> DownloadList::heldFor(const std::string& what,
                                                   const std::function<bool(const Download&)>& condition) {
    const auto found = held_.find(what);
    if (found == held_.end()) return {};
    const auto fulfils = [&](const Download* item) { return condition(*item); };
    return pointersTo(found->second | std::views::filter(fulfils));
}

ConstDownloadPointer DownloadList::firstHeldFor(const std::string& what) const {
    const auto found = held_.find(what);
    return found == held_.end() ? nullptr : *placeOf(**found->second.begin());
}

std::size_t DownloadList::heldCount(const std::string& what) const {
    const auto found = held_.find(what);
    return found == held_.end() ? 0 : found->second.size();
}

std::size_t DownloadList::heldCount() const {
    std::size_t sum = 0;
    for (const auto& [what, items] : held_) sum += items.size();
    return sum;
}

void DownloadList::tellOf(const Download& item, QueueChange::Kind kind) const {
    if (!changes_.hasObservers()) return;
    const auto place = placeOf(item);
    if (place != items_.end()) changes_.tell({kind, *place});
}

std::size_t DownloadList::count(Download::Status status) const {
    return indexFor(status).size() + (status == Download::Status::queued ? heldCount() : 0);
}

std::size_t DownloadList::count(std::initializer_list<Download::Status> statuses) const {
    std::size_t sum = 0;
    for (const Download::Status status : statuses) sum += count(status);
    return sum;
}

}  // namespace tovri
