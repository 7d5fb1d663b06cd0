#include "downloads/partials/NoteKeeper.h"

#include <algorithm>
#include <utility>

namespace tovri {

NoteKeeper::NoteKeeper(FileManager& files, const std::filesystem::path& partial, std::string bootID, PartialNote begun,
                       bool hasNote)
    : files_(files),
      partial_(partial),
      hasNote_(hasNote),
      file_(files, partial, std::move(bootID)),
      note_(std::move(begun)) {}

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

NoteKeeper::Due NoteKeeper::reached(ByteCount first, NotedReach reach) {
    const std::scoped_lock lock(access_);
    auto part = std::ranges::find(note_.parts, first, &NotedPart::first);
    if (part == note_.parts.end())
        part = note_.parts.insert(std::ranges::upper_bound(note_.parts, first, {}, &NotedPart::first),
                                  {.first = first, .written = {first, Checksum()}, .durable = {first, Checksum()}});
    const ByteCount more = reach.end - part->written.end;
    part->written = reach;
    sinceNote_ += more;
    sinceSync_ += more;
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
    if (!isRefused_) takeAsDurable(note_);
    sinceSync_ = 0;
    (void)writeNow();
}

std::optional<std::int64_t> NoteKeeper::writeNow() {
    if (isEnded_ || note_.parts.empty() || !note_.file.canBeGoneOnFrom()) return std::nullopt;
    hasNote_ = true;
    const Result<std::int64_t> number = file_.write(note_);
    if (!number) return std::nullopt;
    sinceNote_ = 0;
    return *number;
}

void NoteKeeper::synchronize() {
    const PartialNote synced = beginSync();
    std::optional<std::int64_t> number;
    if (!isEnded_ && !isRefused_) isRefused_ = !files_.makeDurable(partial_);
    if (!isEnded_ && !isRefused_) {
        const std::scoped_lock lock(access_);
        takeAsDurable(synced);
        number = writeNow();
    }
    if (number && files_.makeDurable(file_.path())) {
        const std::scoped_lock lock(access_);
        file_.noteDurable(*number);
    }
    isSyncBegun_ = false;
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
}

void NoteKeeper::remove() {
    end();
    const std::scoped_lock lock(access_);
    if (hasNote_) (void)files_.removeItem(file_.path());
}

}  // namespace tovri
