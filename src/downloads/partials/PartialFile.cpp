#include "downloads/partials/PartialFile.h"

#include <algorithm>
#include <utility>

namespace tovri {
namespace {

// The longest time between two syncs; what one takes comes on top.
constexpr int secondsToSync = 8;

}  // namespace

PartialFile::PartialFile(Place place, ArrivedBytes arrived, std::unique_ptr<NoteKeeper> note)
    : place_(std::move(place)), note_(std::move(note)), taken_(arrived.length), known_(arrived), written_(arrived) {}

// --- any thread ---

void PartialFile::announce(AnnouncedFile announced) {
    const std::scoped_lock lock(access_);
    announced_ = std::move(announced);
    if (!std::exchange(mustBeTried_, false)) return;
    place_.volumes.run(place_.lane, [self = shared_from_this()] {
        self->describeNote();
        self->note_->putOnTrial();
    });
}

AnnouncedFile PartialFile::announced() const {
    const std::scoped_lock lock(access_);
    return announced_;
}

void PartialFile::close() {
    const std::scoped_lock lock(access_);
    isClosed_ = true;
    ready_ = nullptr;
}

void PartialFile::abandon() {
    close();
    const std::scoped_lock lock(access_);
    waiting_ = 0;
    pieces_.clear();
    if (note_) place_.volumes.run(place_.lane, [self = shared_from_this()] { self->endNote(); });
}

void PartialFile::putOnTrial() {
    const std::scoped_lock lock(access_);
    mustBeTried_ = note_ != nullptr;
}

void PartialFile::noteRefusal() {
    const std::scoped_lock lock(access_);
    isRefused_ = true;
}

bool PartialFile::isRefused() const {
    const std::scoped_lock lock(access_);
    return isRefused_;
}

void PartialFile::second() {
    if (note_) place_.volumes.run(place_.lane, [self = shared_from_this()] { self->noteInTime(); });
}

std::optional<Error> PartialFile::error() const {
    const std::scoped_lock lock(access_);
    return error_;
}

ByteCount PartialFile::taken() const {
    const std::scoped_lock lock(access_);
    return taken_;
}

bool PartialFile::waitsForVolume() const {
    const std::scoped_lock lock(access_);
    return waiting_ > 0;
}

ArrivedBytes PartialFile::written() const {
    const std::scoped_lock lock(access_);
    return known_;
}

ByteReceiver::Taken PartialFile::take(std::string_view bytes) {
    const auto count = static_cast<ByteCount>(bytes.size());
    const std::scoped_lock lock(access_);
    if (isClosed_ || error_) return Taken::refused;
    if (announced_.limit >= 0 && taken_ + count > announced_.limit) {
        error_ = Error(ErrorCase::transport, "The server sent more bytes than it announced; retry.");
        announced_.validator.clear();
        return Taken::refused;
    }
    if (waiting_ >= bufferLimit) return Taken::none;
    std::string piece;
    if (!spare_.empty()) {
        piece = std::move(spare_.back());
        spare_.pop_back();
    }
    piece.assign(bytes);
    pieces_.push_back(std::move(piece));
    taken_ += count;
    waiting_ += count;
    if (!std::exchange(isWriting_, true))
        place_.volumes.run(place_.lane, [self = shared_from_this()] { self->write(); });
    return Taken::all;
}

void PartialFile::whenReady(std::move_only_function<void()> ready) {
    {
        const std::scoped_lock lock(access_);
        if (isClosed_) return;
        if (waiting_ > bufferLimit / 2 && !error_) {
            ready_ = std::move(ready);
            return;
        }
    }
    ready();
}

// --- the volume's thread ---

Result<void> PartialFile::reopen() {
    Result<std::unique_ptr<WritableFile>> file = place_.files.reopenForWriting(place_.path, written_.length);
    if (!file) return failure(file);
    file_ = std::move(*file);
    if (note_) note_->readDurable();
    return {};
}

Result<void> PartialFile::open() {
    if (file_) return {};
    if (written_.length > 0) return reopen();
    Result<std::unique_ptr<WritableFile>> file = place_.files.createForWriting(place_.path);
    if (!file) return failure(file);
    begun_ = place_.files.identity(place_.path);
    file_ = std::move(*file);
    return {};
}

// One piece, and the rest after what others have for this volume.
void PartialFile::write() {
    std::optional<std::string> piece = takeNext();
    if (!piece) return;
    Result<void> written = append(*piece);
    giveBack(std::move(*piece), written ? std::nullopt : std::optional(std::move(written.error())));
    place_.volumes.run(place_.lane, [self = shared_from_this()] { self->write(); });
}

std::optional<std::string> PartialFile::takeNext() {
    const std::scoped_lock lock(access_);
    if (pieces_.empty()) {
        isWriting_ = false;
        return std::nullopt;
    }
    std::string piece = std::move(pieces_.front());
    pieces_.pop_front();
    return piece;
}

void PartialFile::giveBack(std::string piece, std::optional<Error> failed) {
    constexpr std::size_t spareLimit = 8;
    std::move_only_function<void()> ready;
    {
        const std::scoped_lock lock(access_);
        waiting_ -= static_cast<ByteCount>(piece.size());
        known_ = written_;
        if (failed) {
            if (!error_) error_ = std::move(failed);
            waiting_ = 0;
            pieces_.clear();
        }
        if (spare_.size() < spareLimit) spare_.push_back(std::move(piece));
        if (waiting_ <= bufferLimit / 2) ready = std::exchange(ready_, nullptr);
    }
    if (ready) ready();
}

Result<void> PartialFile::append(std::string_view bytes) {
    if (Result<void> opened = open(); !opened) return opened;
    if (Result<void> written = file_->writeAt(written_.length, bytes); !written) return written;
    written_.length += static_cast<ByteCount>(bytes.size());
    if (written_.checksum) written_.checksum->add(bytes);
    if (note_) noteReached();
    return {};
}

// --- The note, on the volume's thread ---

void PartialFile::describeNote() {
    const AnnouncedFile announced = this->announced();
    note_->describe(announced.length.value_or(0), announced.validator);
}

void PartialFile::noteReached() {
    const NoteKeeper::Due due = note_->reached(0, {written_.length, written_.checksum});
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
}

// Beside the lane, which goes on writing meanwhile.
void PartialFile::synchronizeAside() {
    if (!note_->mayBeginSync()) return;
    secondsSinceSync_ = 0;
    place_.volumes.run(place_.lane + " partials", [self = shared_from_this()] { self->note_->synchronize(); });
}

// --- The end, on the volume's thread ---

Result<ArrivedBytes> PartialFile::finish() {
    while (true) {
        std::optional<std::string> piece = takeNext();
        if (!piece) break;
        Result<void> written = append(*piece);
        giveBack(std::move(*piece), written ? std::nullopt : std::optional(std::move(written.error())));
    }
    if (std::optional<Error> failed = error()) return failure(std::move(*failed));
    if (Result<void> opened = open(); !opened) return failure(opened);  // a file of no bytes is a file too
    if (note_ && note_->hasNote() && note_->isBehind()) {
        describeNote();
        note_->write();
    }
    return written_;
}

Result<ArrivedBytes> PartialFile::synchronize() {
    const Result<ArrivedBytes> arrived = finish();
    if (!file_) return arrived;
    if (Result<void> durable = file_->synchronize(); !durable) return failure(durable);
    if (note_ && written_.length > 0) {
        describeNote();
        note_->noteDurable();
    }
    return written_;
}

Result<ArrivedBytes> PartialFile::readAgain() {
    constexpr std::size_t step = std::size_t{1} << 20U;
    Result<ArrivedBytes> arrived = finish();
    if (!arrived || arrived->checksum) return arrived;
    Checksum checksum;
    for (ByteCount offset = 0; offset < arrived->length;) {
        const auto limit = std::min<std::size_t>(step, static_cast<std::size_t>(arrived->length - offset));
        Result<ByteBlob> bytes = file_->readAt(offset, limit);
        if (!bytes) return failure(bytes);
        if (bytes->empty()) break;
        checksum.add(*bytes);
        offset += static_cast<ByteCount>(bytes->size());
    }
    written_.checksum = checksum;
    return written_;
}

void PartialFile::remove() {
    close();
    {
        const std::scoped_lock lock(access_);
        pieces_.clear();
        waiting_ = 0;
    }
    if (note_) note_->remove();
    const bool mayStand = file_ || written_.length > 0;
    file_.reset();
    if (mayStand) (void)place_.files.removeItem(place_.path);
}

void PartialFile::removeNoteIfGone() {
    if (hasNote() && !place_.files.exists(place_.path)) note_->remove();
}

}  // namespace tovri
