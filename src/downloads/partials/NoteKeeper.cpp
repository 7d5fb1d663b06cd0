#include "downloads/partials/NoteKeeper.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "downloads/connections/ChecksumCombination.h"

namespace tovri {
namespace {

// Of bytes up to the first reach, and `length` more that end at the second one.
NotedReach joined(const NotedReach& reach, const NotedReach& more, ByteCount length) {
    NotedReach both{.end = more.end, .checksum = std::nullopt};
    if (reach.checksum && more.checksum) both.checksum = combined(*reach.checksum, *more.checksum, length);
    return both;
}

}  // namespace

NoteKeeper::NoteKeeper(FileManager& files, const std::filesystem::path& partial, std::string bootID, PartialNote begun,
                       bool hasNote)
    : files_(files),
      partial_(partial),
      flags_{.hasNote = hasNote},
      file_(files, partial, std::move(bootID)),
      note_(std::move(begun)) {}

bool NoteKeeper::is(bool Flags::* flag) const {
    const std::scoped_lock lock(asking_);
    return flags_.*flag;
}

bool NoteKeeper::set(bool Flags::* flag, bool value) {
    const std::scoped_lock lock(asking_);
    return std::exchange(flags_.*flag, value);
}

void NoteKeeper::describe(ByteCount length, std::string validator) {
    const std::scoped_lock lock(access_);
    note_.file.length = length;
    note_.file.validator = std::move(validator);
}

void NoteKeeper::readDurable() {
    const auto dated = NoteFile::read(files_, partial_);
    if (!dated) return;
    const std::scoped_lock lock(access_);
    for (const NotedPart& noted : dated->note.parts) {
        const auto part = std::ranges::find(note_.parts, noted.first, &NotedPart::first);
        if (part == note_.parts.end() || noted.durable.end > part->written.end) continue;
        if (noted.durable.end > part->durable.end) part->durable = noted.durable;
    }
}

NoteKeeper::Due NoteKeeper::reached(const WrittenPart& more) {
    const std::scoped_lock lock(access_);
    const ByteCount first = more.range.first;
    const auto endOf = [](const NotedPart& part) { return part.written.end; };
    auto part = std::ranges::find(note_.parts, first, endOf);
    if (part == note_.parts.end())
        part = note_.parts.insert(std::ranges::upper_bound(note_.parts, first, {}, &NotedPart::first),
                                  {.first = first, .written = {first, Checksum()}, .durable = {first, Checksum()}});
    part->written = joined(part->written, {more.range.end, more.checksum}, more.range.length());
    sinceNote_ += more.range.length();
    sinceSync_ += more.range.length();
    const bool endsTrial = std::exchange(note_.isOnTrial, false);
    return {.note = endsTrial || sinceNote_ >= noteStep, .sync = sinceSync_ >= syncStep};
}

bool NoteKeeper::isBehind() const {
    const std::scoped_lock lock(access_);
    return sinceNote_ > 0;
}

bool NoteKeeper::isSyncBehind() const {
    const std::scoped_lock lock(access_);
    return sinceSync_ > 0;
}

void NoteKeeper::write() {
    const std::scoped_lock lock(access_);
    (void)writeNow();
}

void NoteKeeper::putOnTrial() {
    const std::scoped_lock lock(access_);
    note_.isOnTrial = true;
    (void)writeNow();
}

void NoteKeeper::noteDurable() {
    const std::scoped_lock lock(access_);
    note_.isOnTrial = false;
    if (!is(&Flags::isRefused)) takeAsDurable(note_);
    sinceSync_ = 0;
    (void)writeNow();
}

std::optional<std::int64_t> NoteKeeper::writeNow() {
    if (is(&Flags::isEnded) || note_.parts.empty() || !note_.file.canBeGoneOnFrom()) return std::nullopt;
    (void)set(&Flags::hasNote);
    const Result<std::int64_t> number = file_.write(note_);
    if (!number) return std::nullopt;
    sinceNote_ = 0;
    return *number;
}

void NoteKeeper::synchronize() {
    const PartialNote synced = beginSync();
    std::optional<std::int64_t> number;
    const bool isWanted = !is(&Flags::isEnded) && !is(&Flags::isRefused);
    const bool isDurable = isWanted && files_.makeDurable(partial_);
    if (isWanted && !isDurable) (void)set(&Flags::isRefused);
    if (isDurable) {
        const std::scoped_lock lock(access_);
        takeAsDurable(synced);
        number = writeNow();
    }
    if (number && files_.makeDurable(file_.path())) {
        const std::scoped_lock lock(access_);
        file_.noteDurable(*number);
    }
    (void)set(&Flags::isSyncBegun, false);
}

PartialNote NoteKeeper::beginSync() {
    const std::scoped_lock lock(access_);
    sinceSync_ = 0;
    return note_;
}

void NoteKeeper::takeAsDurable(const PartialNote& synced) {
    for (NotedPart& part : note_.parts) {
        const auto before = std::ranges::find(synced.parts, part.first, &NotedPart::first);
        if (before != synced.parts.end() && before->written.end > part.durable.end) part.durable = before->written;
    }
    joinParts();
}

// Parts that touch are one as soon as that forgets nothing of what is durable.
void NoteKeeper::joinParts() {
    for (std::size_t i = 0; i + 1 < note_.parts.size();) {
        NotedPart& part = note_.parts.at(i);
        const NotedPart& next = note_.parts.at(i + 1);
        if (part.durable.end != next.first) {
            ++i;
            continue;
        }
        part.written = joined(part.written, next.written, next.written.end - next.first);
        part.durable = joined(part.durable, next.durable, next.durable.end - next.first);
        note_.parts.erase(note_.parts.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
}

void NoteKeeper::remove() {
    end();
    const std::scoped_lock lock(access_);
    if (hasNote()) (void)files_.removeItem(file_.path());
}

}  // namespace tovri
