#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "downloads/connections/RangePlan.h"
#include "downloads/connections/WrittenParts.h"
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

// The file in which a download's bytes gather, from one connection or from several, each of which brings a range of its
// own. The session's thread hands them over without waiting; the thread of the volume writes them in their places, and
// computes their checksum as it does. Shared by the run, its attempts and the work under way on the volume; whoever
// holds it last closes the file and leaves it where it is.
class PartialFile final : public std::enable_shared_from_this<PartialFile> {
public:
    using Taken = ByteReceiver::Taken;
    using Number = RangePlan::Number;

    // Most bytes that wait for the volume, of all connections together. One whose bytes find no room is read on when
    // half of that is free.
    static constexpr ByteCount bufferLimit = ByteCount{4} * 1024 * 1024;

    // Where the file is, and the volume's lane. The ports outlive the file.
    struct Place {
        FileManager& files;
        VolumeQueues& volumes;
        std::string lane;
        std::filesystem::path path;
    };

    // Without bytes a new file, made when its first ones are written; else one that holds these, at its beginning or in
    // parts. Without a `note` none is kept.
    PartialFile(Place place, const ArrivedBytes& arrived, std::unique_ptr<NoteKeeper> note = nullptr)
        : PartialFile(std::move(place), WrittenParts({{{0, arrived.length}, arrived.checksum}}), std::move(note)) {}

    PartialFile(Place place, WrittenParts arrived, std::unique_ptr<NoteKeeper> note = nullptr);

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

    // What one more connection is to bring, and how much of that has not come yet; see RangePlan.
    [[nodiscard]] std::optional<RangePlan::Share> share();
    [[nodiscard]] ByteRange rest(Number number) const;
    void giveBack(Number number);

    // Whether all bytes have been taken.
    [[nodiscard]] bool isWhole() const;

    // How many bytes have been taken, with those that were there before, and whether some of them still wait for the
    // volume.
    [[nodiscard]] ByteCount taken() const;
    [[nodiscard]] bool waitsForVolume() const;

    // As a ByteReceiver, from the connection that has the share.
    [[nodiscard]] Taken take(Number number, std::string_view bytes);
    void whenReady(std::move_only_function<void()> ready);

    // What is written so far, from the first byte to the first one that is missing.
    [[nodiscard]] ArrivedBytes written() const;

    // All of it.
    [[nodiscard]] WrittenParts parts() const;

    // Why it refuses bytes: a volume that cannot take them, or more of them than were announced.
    [[nodiscard]] std::optional<Error> error() const;

    // --- the volume's thread ---

    // Opens the file where bytes are to be added to it. Fails when they are not there any more.
    [[nodiscard]] Result<void> reopen();

    // Keeps room for a file of this length. False where the volume cannot do that, or has none.
    [[nodiscard]] bool allocate(ByteCount length);

    // Writes what still waits; then the file holds all that was taken. Returns what begins with the first byte.
    [[nodiscard]] Result<ArrivedBytes> finish();

    // As finish; returns when the bytes would survive a loss of power. Room that was kept for others is given back.
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
    struct Piece {
        ByteCount offset = 0;
        std::string bytes;
    };

    void gather(ByteCount offset, std::string_view bytes);
    [[nodiscard]] Taken refuse(Error reason);
    void giveRoomBack();
    [[nodiscard]] Result<void> open();
    void write();
    [[nodiscard]] std::optional<Piece> takeNext();
    void pieceEnded(Piece piece, std::optional<Error> failed);
    [[nodiscard]] Result<void> put(const Piece& piece);
    void describeNote();
    void noteReached(const WrittenPart& part);
    void noteInTime();
    void endNote();
    void synchronizeAside();

    const Place place_;
    const std::unique_ptr<NoteKeeper> note_;  // null: none is kept

    mutable std::mutex access_;
    AnnouncedFile announced_;
    RangePlan plan_;         // what still has to be taken
    ByteCount taken_;        // by the session's thread, with what was there before
    ByteCount waiting_ = 0;  // of these, for the volume
    std::deque<Piece> pieces_;
    std::vector<std::string> spare_;  // written pieces, whose memory the next ones use
    std::vector<std::move_only_function<void()>> ready_;
    std::optional<Error> error_;
    WrittenParts known_;  // as written_ was after the last piece
    bool isClosed_ = false;
    bool isRefused_ = false;
    bool mustBeTried_ = false;  // the announcement that its bytes are gone on from is to be noted
    bool isWriting_ = false;    // the lane has work for what waits

    // The volume's thread.
    std::optional<FileIdentity> begun_;
    std::unique_ptr<WritableFile> file_;
    WrittenParts written_;
    bool hasRoom_ = false;  // kept for bytes that have not come
    int secondsSinceSync_ = 0;
};

// One connection's way into a partial file: it takes the bytes of its share in their order, and no others.
class PartReceiver final : public ByteReceiver {
public:
    PartReceiver(std::shared_ptr<PartialFile> file, RangePlan::Share share) : file_(std::move(file)), share_(share) {}

    // As it was at first; others may be given the end of it.
    [[nodiscard]] const ByteRange& range() const { return share_.range; }

    // Whether it has brought all that it is to bring by now.
    [[nodiscard]] bool isDone() const { return file_->rest(share_.number).length() <= 0; }

    // Takes nothing any more; others may.
    void giveBack() { file_->giveBack(share_.number); }

    [[nodiscard]] Taken take(std::string_view bytes) override { return file_->take(share_.number, bytes); }

    void whenReady(std::move_only_function<void()> ready) override { file_->whenReady(std::move(ready)); }

private:
    const std::shared_ptr<PartialFile> file_;
    const RangePlan::Share share_;
};

}  // namespace tovri
