#include "downloads/partials/PartialFile.h"

#include <algorithm>
#include <utility>

namespace tovri {
namespace {

ArrivedBytes beginningOf(const WrittenParts& parts) {
    const WrittenPart part = parts.beginning();
    return {.length = part.range.end, .checksum = part.checksum};
}

}  // namespace

PartialFile::PartialFile(Place place, WrittenParts arrived, std::unique_ptr<NoteKeeper> note)
    : place_(std::move(place)),
      note_(std::move(note)),
      plan_(arrived.missing(RangePlan::unknownEnd)),
      taken_(arrived.length()),
      known_(arrived),
      written_(std::move(arrived)) {}

// --- any thread ---

void PartialFile::announce(AnnouncedFile announced) {
    const std::scoped_lock lock(access_);
    announced_ = std::move(announced);
    plan_.setLength(announced_.limit >= 0 ? announced_.limit : RangePlan::unknownEnd);
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
    ready_.clear();
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

bool PartialFile::waitsForVolume() const {
    const std::scoped_lock lock(access_);
    return waiting_ > 0;
}

ArrivedBytes PartialFile::written() const {
    return beginningOf(parts());
}

WrittenParts PartialFile::parts() const {
    const std::scoped_lock lock(access_);
    return known_;
}

// --- What is missing ---

std::optional<RangePlan::Share> PartialFile::share() {
    const std::scoped_lock lock(access_);
    return plan_.take();
}

ByteRange PartialFile::rest(Number number) const {
    const std::scoped_lock lock(access_);
    return plan_.rest(number);
}

void PartialFile::giveBack(Number number) {
    const std::scoped_lock lock(access_);
    plan_.giveBack(number);
}

bool PartialFile::isWhole() const {
    const std::scoped_lock lock(access_);
    return plan_.isDone();
}

ByteCount PartialFile::taken() const {
    const std::scoped_lock lock(access_);
    return taken_;
}

// --- What comes ---

ByteReceiver::Taken PartialFile::take(Number number, std::string_view bytes) {
    const std::scoped_lock lock(access_);
    if (isClosed_ || error_) return Taken::refused;
    const ByteRange rest = plan_.rest(number);
    if (std::cmp_greater(bytes.size(), rest.length()) && rest.end == announced_.limit)
        return refuse(Error(ErrorCase::transport, "The server sent more bytes than it announced; retry."));
    if (rest.length() <= 0) return Taken::refused;  // another brings what follows
    if (waiting_ >= bufferLimit) return Taken::none;
    const auto count = std::min(static_cast<ByteCount>(bytes.size()), rest.length());
    gather(rest.first, bytes.substr(0, static_cast<std::size_t>(count)));
    plan_.advance(number, count);
    taken_ += count;
    waiting_ += count;
    if (!std::exchange(isWriting_, true))
        place_.volumes.run(place_.lane, [self = shared_from_this()] { self->write(); });
    return Taken::all;
}

// What follows the last piece joins it: over TLS bytes come 16 KiB at a time, and the disk takes many at once for less.
void PartialFile::gather(ByteCount offset, std::string_view bytes) {
    constexpr std::size_t pieceLimit = std::size_t{512} * 1024;
    if (!pieces_.empty()) {
        Piece& last = pieces_.back();
        const bool follows = last.offset + static_cast<ByteCount>(last.bytes.size()) == offset;
        if (follows && last.bytes.size() + bytes.size() <= pieceLimit) {
            last.bytes.append(bytes);
            return;
        }
    }
    Piece piece{.offset = offset, .bytes = {}};
    if (!spare_.empty()) {
        piece.bytes = std::move(spare_.back());
        spare_.pop_back();
    }
    piece.bytes.assign(bytes);
    pieces_.push_back(std::move(piece));
}

ByteReceiver::Taken PartialFile::refuse(Error reason) {
    error_ = std::move(reason);
    announced_.validator.clear();
    return Taken::refused;
}

void PartialFile::whenReady(std::move_only_function<void()> ready) {
    {
        const std::scoped_lock lock(access_);
        if (isClosed_) return;
        if (waiting_ > bufferLimit / 2 && !error_) {
            ready_.push_back(std::move(ready));
            return;
        }
    }
    ready();
}

// --- the volume's thread ---

Result<void> PartialFile::reopen() {
    Result<std::unique_ptr<WritableFile>> file = place_.files.reopenForWriting(place_.path, written_.end());
    if (!file) return failure(file);
    file_ = std::move(*file);
    hasRoom_ = false;
    if (note_) note_->readDurable();
    return {};
}

Result<void> PartialFile::open() {
    if (file_) return {};
    if (written_.length() > 0) return reopen();
    Result<std::unique_ptr<WritableFile>> file = place_.files.createForWriting(place_.path);
    if (!file) return failure(file);
    begun_ = place_.files.identity(place_.path);
    file_ = std::move(*file);
    return {};
}

void PartialFile::giveRoomBack() {
    if (hasRoom_) (void)reopen();
}

bool PartialFile::allocate(ByteCount length) {
    if (!open()) return false;
    const Result<bool> isKept = file_->allocate(length);
    hasRoom_ = isKept.value_or(false);
    return hasRoom_;
}

// One piece, and the rest after what others have for this volume.
void PartialFile::write() {
    std::optional<Piece> piece = takeNext();
    if (!piece) return;
    Result<void> written = put(*piece);
    pieceEnded(std::move(*piece), written ? std::nullopt : std::optional(std::move(written.error())));
    place_.volumes.run(place_.lane, [self = shared_from_this()] { self->write(); });
}

std::optional<PartialFile::Piece> PartialFile::takeNext() {
    const std::scoped_lock lock(access_);
    if (pieces_.empty()) {
        isWriting_ = false;
        return std::nullopt;
    }
    Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    return piece;
}

void PartialFile::pieceEnded(Piece piece, std::optional<Error> failed) {
    constexpr std::size_t spareLimit = 8;
    std::vector<std::move_only_function<void()>> ready;
    {
        const std::scoped_lock lock(access_);
        waiting_ -= static_cast<ByteCount>(piece.bytes.size());
        known_ = written_;
        if (failed) {
            if (!error_) error_ = std::move(failed);
            waiting_ = 0;
            pieces_.clear();
        }
        if (spare_.size() < spareLimit) spare_.push_back(std::move(piece.bytes));
        if (waiting_ <= bufferLimit / 2) ready = std::exchange(ready_, {});
    }
    for (auto& goOn : ready) goOn();
}

Result<void> PartialFile::put(const Piece& piece) {
    if (Result<void> opened = open(); !opened) return opened;
    if (Result<void> written = file_->writeAt(piece.offset, piece.bytes); !written) return written;
    WrittenPart part{.range = {piece.offset, piece.offset + static_cast<ByteCount>(piece.bytes.size())},
                     .checksum = Checksum()};
    part.checksum->add(piece.bytes);
    written_.add(part);
    if (note_) noteReached(part);
    return {};
}

// --- The end, on the volume's thread ---

Result<ArrivedBytes> PartialFile::finish() {
    while (true) {
        std::optional<Piece> piece = takeNext();
        if (!piece) break;
        Result<void> written = put(*piece);
        pieceEnded(std::move(*piece), written ? std::nullopt : std::optional(std::move(written.error())));
    }
    if (std::optional<Error> failed = error()) return failure(std::move(*failed));
    if (Result<void> opened = open(); !opened) return failure(opened);  // a file of no bytes is a file too
    if (note_ && note_->hasNote() && note_->isBehind()) {
        describeNote();
        note_->write();
    }
    return beginningOf(written_);
}

Result<ArrivedBytes> PartialFile::synchronize() {
    const Result<ArrivedBytes> arrived = finish();
    if (!file_) return arrived;
    giveRoomBack();
    if (Result<void> durable = file_->synchronize(); !durable) return failure(durable);
    if (note_ && written_.length() > 0) {
        describeNote();
        note_->noteDurable();
    }
    return beginningOf(written_);
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
    written_ = WrittenParts({{{0, arrived->length}, checksum}});
    arrived->checksum = checksum;
    return arrived;
}

void PartialFile::remove() {
    close();
    {
        const std::scoped_lock lock(access_);
        pieces_.clear();
        waiting_ = 0;
    }
    if (note_) note_->remove();
    const bool mayStand = file_ || written_.length() > 0;
    file_.reset();
    if (mayStand) (void)place_.files.removeItem(place_.path);
}

void PartialFile::removeNoteIfGone() {
    if (hasNote() && !place_.files.exists(place_.path)) note_->remove();
}

}  // namespace tovri
