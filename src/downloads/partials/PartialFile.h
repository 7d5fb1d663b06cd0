#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "downloads/partials/Checksum.h"
#include "downloads/partials/NoteKeeper.h"
#include "platform/FileManager.h"
#include "platform/TransferSession.h"
#include "platform/VolumeQueues.h"

namespace tovri {

// Bytes of a file that have arrived: how many, and their checksum where it is known.
struct ArrivedBytes {
    ByteCount length = 0;
    std::optional<Checksum> checksum = Checksum();
};

// What an answer announced of the whole file.
struct AnnouncedFile {
    std::optional<ByteCount> length;
    std::string validator;  // empty: there is no way to go on later
    ByteCount limit = -1;   // no byte is taken from there on; -1: there is none
};

// The file in which a download's bytes gather. The session's thread hands them over without waiting; the thread of the
// volume writes them one behind the other, and computes their checksum as it does. Shared by the run, its attempt and
// the work under way on the volume; whoever holds it last closes the file and leaves it where it is.
class PartialFile final : public ByteReceiver, public std::enable_shared_from_this<PartialFile> {
public:
    // Most bytes that wait for the volume. A connection whose bytes find no room is read on when half of that is free.
    static constexpr ByteCount bufferLimit = ByteCount{4} * 1024 * 1024;

    // Where the file is, and the volume's lane. The ports outlive the file.
    struct Place {
        FileManager& files;
        VolumeQueues& volumes;
        std::string lane;
        std::filesystem::path path;
    };

    // With `arrived` of length 0 a new file, made when its first bytes are written; else one that holds these bytes.
    // Without a `note` none is kept.
    PartialFile(Place place, ArrivedBytes arrived, std::unique_ptr<NoteKeeper> note = nullptr);

    [[nodiscard]] const std::filesystem::path& path() const { return place_.path; }

    [[nodiscard]] const std::string& lane() const { return place_.lane; }

    // --- any thread ---

    void announce(AnnouncedFile announced);
    [[nodiscard]] AnnouncedFile announced() const;

    // Nothing is taken any more.
    void close();

    // The same, and what still waits is not written: from the lane's next work on, whoever goes on from written() has
    // the file to himself.
    void abandon();

    // The bytes were those of an earlier transfer: until one is added, the note says that they are on trial once a
    // server has announced that it goes on from them.
    void putOnTrial();

    // A server does not go on from these bytes.
    void noteRefusal();
    [[nodiscard]] bool isRefused() const;

    // To be called every second while bytes may come: the note is not behind for longer than that.
    void second();

    [[nodiscard]] Taken take(std::string_view bytes) override;
    void whenReady(std::move_only_function<void()> ready) override;

    // How many bytes it has taken, counted from the file's first one, and whether some of them still wait for the
    // volume.
    [[nodiscard]] ByteCount taken() const;
    [[nodiscard]] bool waitsForVolume() const;

    // What is written so far.
    [[nodiscard]] ArrivedBytes written() const;

    // Why it refuses bytes: a volume that cannot take them, or more of them than were announced.
    [[nodiscard]] std::optional<Error> error() const;

    // --- the volume's thread ---

    // Opens the file where bytes are to be added to it. Fails when they are not there any more.
    [[nodiscard]] Result<void> reopen();

    // Writes what still waits; then the file holds all that was taken.
    [[nodiscard]] Result<ArrivedBytes> finish();

    // As finish; returns when the bytes would survive a loss of power.
    [[nodiscard]] Result<ArrivedBytes> synchronize();

    // Reads what the file held when it was opened, where its checksum is not known.
    [[nodiscard]] Result<ArrivedBytes> readAgain();

    // With its note.
    void remove();

    // The note of a file that was placed.
    void removeNoteIfGone();

    // --- after it was finished ---

    // The file that this one has begun itself, of whose bytes it knows each; none where it went on with an older one.
    [[nodiscard]] const std::optional<FileIdentity>& begun() const { return begun_; }

    // Whether there may be a note. Any thread.
    [[nodiscard]] bool hasNote() const { return note_ && note_->hasNote(); }

private:
    [[nodiscard]] Result<void> open();
    void write();
    [[nodiscard]] std::optional<std::string> takeNext();
    void giveBack(std::string piece, std::optional<Error> failed);
    [[nodiscard]] Result<void> append(std::string_view bytes);
    void describeNote();
    void noteReached();
    void noteInTime();
    void endNote();
    void synchronizeAside();

    const Place place_;
    const std::unique_ptr<NoteKeeper> note_;  // null: none is kept

    mutable std::mutex access_;
    AnnouncedFile announced_;
    ByteCount taken_;        // by the session's thread, counted from the file's first byte
    ByteCount waiting_ = 0;  // of these, for the volume
    std::deque<std::string> pieces_;
    std::vector<std::string> spare_;  // written pieces, whose memory the next ones use
    std::move_only_function<void()> ready_;
    std::optional<Error> error_;
    ArrivedBytes known_;  // as written_ was after the last piece
    bool isClosed_ = false;
    bool isRefused_ = false;
    bool mustBeTried_ = false;  // the announcement that its bytes are gone on from is to be noted
    bool isWriting_ = false;    // the lane has work for what waits

    // The volume's thread.
    std::optional<FileIdentity> begun_;
    std::unique_ptr<WritableFile> file_;
    ArrivedBytes written_;
    int secondsSinceSync_ = 0;
};

}  // namespace tovri
