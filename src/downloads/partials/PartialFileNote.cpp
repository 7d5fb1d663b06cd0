// The note that a partial file keeps beside it. On the volume's thread.
#include "downloads/partials/PartialFile.h"

namespace tovri {
namespace {

// The longest time between two syncs; what one takes comes on top.
constexpr int secondsToSync = 8;

}  // namespace

void PartialFile::describeNote() {
    const AnnouncedFile announced = this->announced();
    note_->describe(announced.length.value_or(0), announced.validator);
}

void PartialFile::noteReached(const WrittenPart& part) {
    const NoteKeeper::Due due = note_->reached(part);
    if (!due.note && !due.sync) return;
    describeNote();
    if (due.note) note_->write();
    if (due.sync) synchronizeAside();
}

void PartialFile::noteInTime() {
    if (!file_ || !note_->isSyncBehind()) return;
    describeNote();
    if (note_->isBehind()) note_->write();
    if (++secondsSinceSync_ >= secondsToSync) synchronizeAside();
}

void PartialFile::endNote() {
    describeNote();
    if (note_->isBehind()) note_->write();
    note_->end();
    giveRoomBack();
}

// Beside the lane, which goes on writing meanwhile.
void PartialFile::synchronizeAside() {
    if (!note_->mayBeginSync()) return;
    secondsSinceSync_ = 0;
    place_.volumes.run(place_.lane + " partials", [self = shared_from_this()] { self->note_->synchronize(); });
}

}  // namespace tovri
