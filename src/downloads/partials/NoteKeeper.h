#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "downloads/connections/WrittenParts.h"
#include "downloads/partials/NoteFile.h"

namespace tovri {

// Keeps the note of one partial file true while bytes come: which of them were written, and which would survive a loss
// of power. Told of bytes after they are written, so the note never says more than there is. The thread of the volume
// writes the note; the one that syncs for it works beside, and both use this. Blocks, but never longer than a write to
// the note takes.
class NoteKeeper {
public:
    // The note is behind what is written by this much at the most, and what is durable by that.
    static constexpr ByteCount noteStep = ByteCount{8} * 1024 * 1024;
    static constexpr ByteCount syncStep = ByteCount{64} * 1024 * 1024;

    // `begun` says what file it is and which of its bytes are there; `hasNote`: a note of it may be there, too. `files`
    // outlives this.
    NoteKeeper(FileManager& files, const std::filesystem::path& partial, std::string bootID, PartialNote begun,
               bool hasNote);

    // What more of the file is known: as it was announced.
    void describe(ByteCount length, std::string validator);

    // Takes over what the note says of the disk.
    void readDurable();

    // What is due now that these bytes, behind a part or where there were none, have been written.
    struct Due {
        bool note = false;
        bool sync = false;
    };

    Due reached(const WrittenPart& more);

    // Whether there is more to note, or to sync, than was noted or synced.
    [[nodiscard]] bool isBehind() const;
    [[nodiscard]] bool isSyncBehind() const;

    // Notes what is written. Does nothing where the bytes could not be gone on from. A failure leaves the older note,
    // and is tried again.
    void write();

    // The same, and that they are gone on from for the first time; the next byte ends that.
    void putOnTrial();

    // All that is written is durable.
    void noteDurable();

    // Whether somebody is to call synchronize() now: false while another is about to, or does.
    [[nodiscard]] bool mayBeginSync() { return !set(&Flags::isSyncBegun); }

    // Has the partial file synced, and notes what it held before that as durable, durably. Waits for the disk.
    void synchronize();

    // No note is written any more. Does not block.
    void end() { (void)set(&Flags::isEnded); }

    // Whether there may be a note to remove. Any thread; does not block.
    [[nodiscard]] bool hasNote() const { return is(&Flags::hasNote); }

    void remove();

private:
    [[nodiscard]] std::optional<std::int64_t> writeNow();
    [[nodiscard]] PartialNote beginSync();
    void takeAsDurable(const PartialNote& synced);
    void joinParts();

    struct Flags {
        bool hasNote = false;
        bool isEnded = false;
        bool isSyncBegun = false;
        bool isRefused = false;  // by the disk: what it says later of the same bytes is no proof
    };

    [[nodiscard]] bool is(bool Flags::* flag) const;

    // What it was before.
    [[nodiscard]] bool set(bool Flags::* flag, bool value = true);

    FileManager& files_;
    const std::filesystem::path partial_;

    mutable std::mutex asking_;  // held by nobody who waits for the disk
    Flags flags_;

    mutable std::mutex access_;
    NoteFile file_;
    PartialNote note_;
    ByteCount sinceNote_ = 0;  // bytes that have come since
    ByteCount sinceSync_ = 0;  // since the last one began
};

}  // namespace tovri
