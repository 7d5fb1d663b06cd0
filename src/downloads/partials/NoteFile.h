#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "downloads/partials/PartialNote.h"
#include "platform/FileManager.h"

namespace tovri {

// The file "UUID.note" beside a partial file: two slots, of which the younger one that is whole counts. A note is
// written over the older one, so that a kill or a loss of power in between leaves the other; and once a slot is known
// to be on the disk, over the other one until that is, too. Blocks; one thread at a time, but for read().
class NoteFile {
public:
    using Path = std::filesystem::path;

    static constexpr std::size_t slotSize = 8192;

    [[nodiscard]] static Path pathOf(const Path& partial);

    // The note of a partial file; none when there is no whole one, or it is another file's. Any thread.
    [[nodiscard]] static std::optional<DatedNote> read(FileManager& files, const Path& partial);

    // The partial file goes, and its note before it. Any thread.
    static void removeWithNote(FileManager& files, const Path& partial);

    // `files` outlives this. No file is made before the first note.
    NoteFile(FileManager& files, const Path& partial, std::string bootID)
        : files_(files), path_(pathOf(partial)), bootID_(std::move(bootID)) {}

    [[nodiscard]] const Path& path() const { return path_; }

    // Its number, which counts up. Not durable. Fails, too, when the note is too long for a slot.
    [[nodiscard]] Result<std::int64_t> write(PartialNote note);

    // The note of that number has reached the disk, unless it was written over meanwhile.
    void noteDurable(std::int64_t number);

private:
    using Slots = std::array<std::optional<DatedNote>, 2>;

    [[nodiscard]] static Slots parse(std::string_view bytes);
    [[nodiscard]] Result<void> open();
    [[nodiscard]] std::size_t nextSlot() const;

    FileManager& files_;
    const Path path_;
    const std::string bootID_;
    std::unique_ptr<WritableFile> file_;
    std::array<std::int64_t, 2> numbers_{};  // of the notes in the slots; 0: none
    std::optional<std::size_t> durable_;     // the slot that is on the disk for sure
};

}  // namespace tovri
