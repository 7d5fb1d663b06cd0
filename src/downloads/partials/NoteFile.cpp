#include "downloads/partials/NoteFile.h"

#include <algorithm>
#include <utility>

namespace tovri {
namespace {

constexpr ByteCount fileSize = 2 * ByteCount{NoteFile::slotSize};

}  // namespace

NoteFile::Path NoteFile::pathOf(const Path& partial) {
    Path path = partial;
    path += ".note";
    return path;
}

void NoteFile::removeWithNote(FileManager& files, const Path& partial) {
    if (const Path note = pathOf(partial); files.exists(note)) (void)files.removeItem(note);
    (void)files.removeItem(partial);
}

NoteFile::Slots NoteFile::parse(std::string_view bytes) {
    const std::string_view second = bytes.size() > slotSize ? bytes.substr(slotSize) : std::string_view();
    return {DatedNote::parse(bytes.substr(0, slotSize)), DatedNote::parse(second)};
}

std::optional<DatedNote> NoteFile::read(FileManager& files, const Path& partial) {
    const Path path = pathOf(partial);
    const auto size = files.fileSize(path);
    if (!size || *size < 1 || *size > fileSize) return std::nullopt;
    const Result<ByteBlob> bytes = files.readFile(path);
    if (!bytes) return std::nullopt;
    std::optional<DatedNote> found;
    for (std::optional<DatedNote>& slot : parse(*bytes))
        if (slot && slot->note.partial.text() == partial.filename().native() &&
            (!found || slot->number > found->number))
            found = std::move(slot);
    return found;
}

// Goes on with a note that is there, whoever has written it.
Result<void> NoteFile::open() {
    if (file_) return {};
    if (const auto size = files_.fileSize(path_)) {
        Result<std::unique_ptr<WritableFile>> file = files_.reopenForWriting(path_, std::min(*size, fileSize));
        if (!file) return failure(file);
        Result<ByteBlob> bytes = (*file)->readAt(0, static_cast<std::size_t>(fileSize));
        if (!bytes) return failure(bytes);
        const Slots slots = parse(*bytes);
        for (std::size_t i = 0; i < slots.size(); ++i) numbers_.at(i) = slots.at(i) ? slots.at(i)->number : 0;
        file_ = std::move(*file);
        return {};
    }
    Result<std::unique_ptr<WritableFile>> file = files_.createForWriting(path_);
    if (!file) return failure(file);
    file_ = std::move(*file);
    return {};
}

std::size_t NoteFile::nextSlot() const {
    if (durable_) return 1 - *durable_;
    return numbers_[0] <= numbers_[1] ? 0 : 1;
}

Result<std::int64_t> NoteFile::write(PartialNote note) {
    if (Result<void> opened = open(); !opened) return failure(opened);
    const std::int64_t number = std::max(numbers_[0], numbers_[1]) + 1;
    ByteBlob text = DatedNote{.number = number, .bootID = bootID_, .note = std::move(note)}.encoded();
    if (text.size() > slotSize) return failure(Error(ErrorCase::file, "The note has no room for so many parts."));
    text.resize(slotSize, '\0');
    const std::size_t slot = nextSlot();
    numbers_.at(slot) = 0;
    if (Result<void> written = file_->writeAt(static_cast<ByteCount>(slot * slotSize), text); !written)
        return failure(written);
    numbers_.at(slot) = number;
    return number;
}

void NoteFile::noteDurable(std::int64_t number) {
    for (std::size_t slot = 0; slot < numbers_.size(); ++slot)
        if (numbers_.at(slot) == number) durable_ = slot;
}

}  // namespace tovri
