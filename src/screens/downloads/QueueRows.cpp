#include "screens/downloads/QueueRows.h"

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
    for (const Group& group : groups_) rows += group.rowCount();
    return rows;
}

std::size_t QueueRows::firstRow(DownloadSection section) const {
    std::size_t row = 0;
    for (std::size_t i = 0; i < static_cast<std::size_t>(section); ++i) row += groups_[i].rowCount();
    return row;
}

std::size_t QueueRows::rowAt(DownloadSection section, std::size_t index) const {
    return firstRow(section) + (group(section).hasHeader ? 1 : 0) + index;
}

QueueRows::Place QueueRows::placeAt(std::size_t row) const {
    std::size_t section = 0;
    for (; section + 1 < downloadSectionCount; ++section) {
        const std::size_t rows = groups_[section].rowCount();
        if (row < rows) break;
        row -= rows;
    }
    Place place{static_cast<DownloadSection>(section), std::nullopt};
    if (row > 0 || !groups_[section].hasHeader) place.index = row - (groups_[section].hasHeader ? 1 : 0);
    return place;
}

SectionRows::Row QueueRows::at(std::size_t row) const {
    const Place place = placeAt(row);
    return place.index ? group(place.section).rows.at(*place.index) : SectionRows::Row();
}

const Batch* QueueRows::batchAt(std::size_t row) const {
    const SectionRows::Row found = at(row);
    return found.item ? nullptr : found.batch;
}

std::optional<std::size_t> QueueRows::batchRowOf(std::size_t row) const {
    const Download* item = itemAt(row);
    const DownloadSection section = placeAt(row).section;
    const auto index = item ? group(section).rows.batchRowOf(*item) : std::nullopt;
    return index ? std::optional(rowAt(section, *index)) : std::nullopt;
}

std::optional<std::size_t> QueueRows::rowOf(const UUID& id) const {
    const ConstDownloadPointer item = list_.find(id);
    if (const auto row = item ? toldRowOf(item) : std::nullopt) return row;
    // Until the rows have caught up, it stands where it was told last.
    for (std::size_t row = 0; row < count(); ++row)
        if (const Download* each = itemAt(row); each && each->id == id) return row;
    return std::nullopt;
}

std::optional<std::size_t> QueueRows::toldRowOf(const ConstDownloadPointer& item) const {
    const DownloadSection section = downloadSection(item->status);
    const SectionRows& rows = group(section).rows;
    const RowPlace place = rows.placeOf(item, item->position);
    if (!rows.contains(place)) return std::nullopt;
    const auto row = rows.rowOf(place);
    return rowAt(section, row ? *row : rows.batchRowOf(*item).value());
}

void QueueRows::setOpen(std::size_t row, bool isOpen) {
    const Place place = placeAt(row);
    if (!batchAt(row)) return;
    tell(place.section, group(place.section).rows.setOpen(*place.index, isOpen));
    tell_({Kind::changed, row, 1});
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
        const bool mayStandElsewhere = previous != section || group(section).rows.order().hasRanks();
        if (mayStandElsewhere) stray(item, previous, item->position);
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

void QueueRows::arrange(SectionRows::Arrangement finished) {
    finished_ = finished;
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
    std::array<std::vector<ConstDownloadPointer>, downloadSectionCount> items;
    for (const ConstDownloadPointer& item : list_.items())
        if (isShown(*item)) items[static_cast<std::size_t>(downloadSection(item->status))].push_back(item);
    for (std::size_t i = 0; i < downloadSectionCount; ++i) {
        groups_[i].hasHeader = !items[i].empty();
        const bool isFinished = i == static_cast<std::size_t>(DownloadSection::finished);
        groups_[i].rows.assign(std::move(items[i]), {finished_.isInBatches, isFinished ? finished_.order : RowOrder()});
    }
    toldWaiting_ = count(DownloadSection::queued);
}

// The header of the queued ones says how many they are.
void QueueRows::tellWaiting() {
    const std::size_t waiting = count(DownloadSection::queued);
    if (std::exchange(toldWaiting_, waiting) == waiting || waiting == 0) return;
    tell_({Kind::changed, firstRow(DownloadSection::queued), 1});
}

void QueueRows::settle(const Stray& stray) {
    const std::optional<RowPlace> from = toldPlace(stray);
    std::optional<RowPlace> to;
    const DownloadSection target = downloadSection(stray.item->status);
    if (list_.contains(*stray.item) && isShown(*stray.item)) {
        to = group(target).rows.order().placeOf(stray.item);
        addHeader(target);
        tell(target, group(target).rows.makeRoom(*to));
    }
    moveRow(stray, from, to);
    if (to) tellBatch(target, *stray.item);
    if (!from) return;
    tell(*stray.section, group(*stray.section).rows.tidyUp(*stray.item));
    tellBatch(*stray.section, *stray.item);
    dropEmptyHeader(*stray.section);
}

std::optional<RowPlace> QueueRows::toldPlace(const Stray& stray) const {
    if (!stray.section) return std::nullopt;
    const SectionRows& rows = group(*stray.section).rows;
    RowPlace place = rows.placeOf(stray.item, stray.position);
    return rows.contains(place) ? std::optional(std::move(place)) : std::nullopt;
}

void QueueRows::moveRow(const Stray& stray, const std::optional<RowPlace>& from, const std::optional<RowPlace>& to) {
    std::optional<std::size_t> before = from ? group(*stray.section).rows.take(*from) : std::nullopt;
    if (before) before = rowAt(*stray.section, *before);
    const DownloadSection target = downloadSection(stray.item->status);
    std::optional<std::size_t> after = to ? group(target).rows.put(*to) : std::nullopt;
    if (after) after = rowAt(target, *after);
    if (before && after) {
        if (*before != *after) tell_({Kind::moved, *before, 1, *after});
    } else if (before) {
        tell_({Kind::removed, *before, 1});
    } else if (after) {
        tell_({Kind::inserted, *after, 1});
    }
}

// With the rows counted from the section's first one.
void QueueRows::tell(DownloadSection section, std::optional<ScreenChange> change) const {
    if (!change) return;
    change->first = rowAt(section, change->first);
    if (change->kind == Kind::moved) change->to = rowAt(section, change->to);
    tell_(*change);
}

void QueueRows::tellBatch(DownloadSection section, const Download& item) const {
    if (const auto row = group(section).rows.batchRowOf(item)) tell_({Kind::changed, rowAt(section, *row), 1});
}

void QueueRows::addHeader(DownloadSection section) {
    if (std::exchange(group(section).hasHeader, true)) return;
    if (section == DownloadSection::queued) toldWaiting_ = 0;
    tell_({Kind::inserted, firstRow(section), 1});
}

void QueueRows::dropEmptyHeader(DownloadSection section) {
    if (count(section) > 0) return;
    group(section).hasHeader = false;
    tell_({Kind::removed, firstRow(section), 1});
}

// --- Looks ---

void QueueRows::tellLooks() {
    for (const ConstDownloadPointer& item : std::exchange(looks_, {})) {
        if (needsReset_) return;
        if (strayItems_.contains(item.get())) continue;  // told when it is back in its place
        const DownloadSection section = downloadSection(item->status);
        SectionRows& rows = group(section).rows;
        const RowPlace place = rows.placeOf(item, item->position);
        rows.refresh(place);
        if (const auto row = rows.rowOf(place)) tell_({Kind::changed, rowAt(section, *row), 1});
        tellBatch(section, *item);
    }
}

void QueueRows::tellLook(DownloadSection section) const {
    if (const std::size_t rows = group(section).rows.rowCount(); rows > 0)
        tell_({Kind::changed, rowAt(section, 0), rows});
}

}  // namespace tovri
