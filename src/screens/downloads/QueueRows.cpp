#include "screens/downloads/QueueRows.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace tovri {
namespace {

using Kind = ScreenChange::Kind;

// A view does better to read everything again than to follow more than these.
constexpr std::size_t mostStrays = 64;

}  // namespace

DownloadSection downloadSection(DownloadStatus status) {
    using enum DownloadStatus;
    if (isFinished(status)) return DownloadSection::finished;
    if (status == queued) return DownloadSection::queued;
    return status == paused ? DownloadSection::paused : DownloadSection::active;
}

QueueRows::QueueRows(const DownloadList& list, MainLoop& loop, Tell tell, std::function<void()> tellSettled)
    : list_(list), loop_(loop), tell_(std::move(tell)), tellSettled_(std::move(tellSettled)) {
    reset();
}

// --- Rows ---

std::size_t QueueRows::count() const {
    std::size_t rows = 0;
    for (const Group& group : groups_) rows += group.entries.size() + (group.hasHeader ? 1 : 0);
    return rows;
}

std::size_t QueueRows::firstRow(DownloadSection section) const {
    std::size_t row = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(section); ++i)
        row += groups_[i].entries.size() + (groups_[i].hasHeader ? 1 : 0);
    return row;
}

std::size_t QueueRows::rowAt(DownloadSection section, std::size_t index) const {
    return firstRow(section) + (group(section).hasHeader ? 1 : 0) + index;
}

QueueRows::Place QueueRows::placeAt(std::size_t row) const {
    std::size_t section = 0;
    for (; section + 1 < downloadSectionCount; ++section) {
        const std::size_t rows = groups_[section].entries.size() + (groups_[section].hasHeader ? 1 : 0);
        if (row < rows) break;
        row -= rows;
    }
    Place place{static_cast<DownloadSection>(section), std::nullopt};
    if (row > 0 || !groups_[section].hasHeader) place.index = row - (groups_[section].hasHeader ? 1 : 0);
    return place;
}

const Download* QueueRows::itemAt(std::size_t row) const {
    const Place place = placeAt(row);
    return place.index ? group(place.section).entries[*place.index].item.get() : nullptr;
}

std::optional<std::size_t> QueueRows::rowOf(const UUID& id) const {
    if (const ConstDownloadPointer item = list_.find(id)) {
        const DownloadSection section = downloadSection(item->status);
        if (const auto index = indexOf(item, section, item->position)) return rowAt(section, *index);
    }
    // Until the rows have caught up, it stands where it was told last.
    for (std::size_t i = 0; i < downloadSectionCount; ++i) {
        const auto found = std::ranges::find(groups_[i].entries, id, [](const Entry& entry) { return entry.item->id; });
        if (found != groups_[i].entries.end())
            return rowAt(static_cast<DownloadSection>(i), static_cast<std::size_t>(found - groups_[i].entries.begin()));
    }
    return std::nullopt;
}

std::optional<std::size_t> QueueRows::indexOf(const ConstDownloadPointer& item, DownloadSection section,
                                              std::int64_t position) const {
    // Half-way through a catching up two entries may have one position.
    const auto& entries = group(section).entries;
    const auto range = std::ranges::equal_range(entries, position, {}, &Entry::position);
    const auto found = std::ranges::find(range, item, &Entry::item);
    if (found == range.end()) return std::nullopt;
    return static_cast<std::size_t>(found - entries.begin());
}

// --- Changes of the queue ---

void QueueRows::follow(const QueueChange& change) {
    using enum QueueChange::Kind;
    if (change.kind == isPaused || change.kind == conflict || change.kind == saving || change.kind == takenOut) return;
    if (change.kind == begun || change.kind == progress) return;
    if (change.kind == isHeld) return tellLook(DownloadSection::queued);
    if (change.kind == hold && !change.item) return;
    if (!change.item || isCatchingUp_) return needReset();
    const ConstDownloadPointer& item = change.item;
    const DownloadSection section = downloadSection(item->status);
    if (change.kind == inserted) {
        stray(item, std::nullopt, 0);
    } else if (change.kind == removed) {
        stray(item, section, item->position);
    } else if (change.kind == moved) {
        strayAfterMove(change);
    } else {
        markLook(item);
        if (change.kind == hold) return scheduleCatchUp();
        const DownloadSection previous = downloadSection(change.previous);
        if (previous != section) stray(item, previous, item->position);
    }
    scheduleCatchUp();
}

void QueueRows::strayAfterMove(const QueueChange& change) {
    const ConstDownloadPointer& item = change.item;
    if (const ConstDownloadPointer neighbour = list_.findAt(change.previousPosition))
        stray(neighbour, downloadSection(neighbour->status), item->position);
    stray(item, downloadSection(item->status), change.previousPosition);
}

// Only the first time counts: that is where the item was told.
void QueueRows::stray(const ConstDownloadPointer& item, std::optional<DownloadSection> section, std::int64_t position) {
    if (needsReset_ || !strayItems_.insert(item.get()).second) return;
    strays_.push_back({item, section, position});
    if (strays_.size() > mostStrays) needReset();
}

void QueueRows::needReset() {
    needsReset_ = true;
    strays_.clear();
    strayItems_.clear();
    scheduleCatchUp();
}

void QueueRows::scheduleCatchUp() {
    if (!timer_.isActive()) timer_ = loop_.schedule(MainLoop::Duration::zero(), [this] { catchUp(); });
}

void QueueRows::setFilter(Filter filter) {
    filter_ = std::move(filter);
    needReset();
}

// --- Catching up ---

void QueueRows::catchUp() {
    timer_.reset();
    isCatchingUp_ = true;
    if (needsReset_) {
        reset();
        tell_({Kind::reset});
    } else {
        strayItems_.clear();
        for (const Stray& stray : std::exchange(strays_, {})) settle(stray);
        tellWaiting();
        tellLooks();
    }
    isCatchingUp_ = false;
    tellSettled_();
}

void QueueRows::reset() {
    needsReset_ = false;
    looks_.clear();
    for (Group& group : groups_) group = {};
    for (const ConstDownloadPointer& item :
         list_.items() | std::views::filter([this](const auto& each) { return isShown(*each); }))
        group(downloadSection(item->status)).entries.push_back({item->position, item});
    for (Group& group : groups_) group.hasHeader = !group.entries.empty();
    toldWaiting_ = count(DownloadSection::queued);
}

// The header of the queued ones says how many they are.
void QueueRows::tellWaiting() {
    const std::size_t waiting = count(DownloadSection::queued);
    if (std::exchange(toldWaiting_, waiting) == waiting || waiting == 0) return;
    tell_({Kind::changed, firstRow(DownloadSection::queued), 1});
}

void QueueRows::settle(const Stray& stray) {
    const auto index = stray.section ? indexOf(stray.item, *stray.section, stray.position) : std::nullopt;
    if (!list_.contains(*stray.item)) {
        if (index) takeOut(*stray.section, *index);
        return;
    }
    if (!index) {
        if (isShown(*stray.item)) putIn(stray.item);
        return;
    }

    const DownloadSection target = downloadSection(stray.item->status);
    addHeader(target);
    const std::size_t from = rowAt(*stray.section, *index);
    auto& old = group(*stray.section).entries;
    old.erase(old.begin() + static_cast<std::ptrdiff_t>(*index));
    auto& entries = group(target).entries;
    const auto at = std::ranges::lower_bound(entries, stray.item->position, {}, &Entry::position);
    const auto to = static_cast<std::size_t>(entries.insert(at, {stray.item->position, stray.item}) - entries.begin());
    if (rowAt(target, to) != from) tell_({Kind::moved, from, 1, rowAt(target, to)});
    dropEmptyHeader(*stray.section);
}

void QueueRows::takeOut(DownloadSection section, std::size_t index) {
    const std::size_t row = rowAt(section, index);
    auto& entries = group(section).entries;
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(index));
    tell_({Kind::removed, row, 1});
    dropEmptyHeader(section);
}

void QueueRows::putIn(const ConstDownloadPointer& item) {
    const DownloadSection section = downloadSection(item->status);
    addHeader(section);
    auto& entries = group(section).entries;
    const auto at = std::ranges::lower_bound(entries, item->position, {}, &Entry::position);
    const auto index = static_cast<std::size_t>(entries.insert(at, {item->position, item}) - entries.begin());
    tell_({Kind::inserted, rowAt(section, index), 1});
}

void QueueRows::addHeader(DownloadSection section) {
    if (std::exchange(group(section).hasHeader, true)) return;
    if (section == DownloadSection::queued) toldWaiting_ = 0;
    tell_({Kind::inserted, firstRow(section), 1});
}

void QueueRows::dropEmptyHeader(DownloadSection section) {
    if (!group(section).entries.empty()) return;
    group(section).hasHeader = false;
    tell_({Kind::removed, firstRow(section), 1});
}

// --- Looks ---

void QueueRows::tellLooks() {
    for (const ConstDownloadPointer& item : std::exchange(looks_, {})) {
        if (needsReset_) return;
        if (strayItems_.contains(item.get())) continue;  // told when it is back in its place
        const DownloadSection section = downloadSection(item->status);
        if (const auto index = indexOf(item, section, item->position))
            tell_({Kind::changed, rowAt(section, *index), 1});
    }
}

void QueueRows::tellLook(DownloadSection section) const {
    if (const std::size_t items = count(section); items > 0) tell_({Kind::changed, rowAt(section, 0), items});
}

}  // namespace tovri
