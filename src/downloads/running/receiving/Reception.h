#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "downloads/partials/PartialFile.h"
#include "downloads/partials/ResumePoint.h"
#include "downloads/running/RunSurroundings.h"
#include "downloads/running/RunTarget.h"
#include "downloads/running/receiving/AnswerCheck.h"
#include "downloads/running/receiving/SideConnections.h"
#include "downloads/running/receiving/SpeedMeter.h"

namespace tovri {

// How the bytes of one download come: from the first one, or from where the item's token says, into a partial file. Its
// run asks for one thing after the other. Whatever the run wants meanwhile ends what it awaits by the stop token.
class Reception {
public:
    // The references outlive this.
    Reception(RunSurroundings& around, DownloadPointer item, Tries& tries);
    Reception(const Reception&) = delete;
    Reception& operator=(const Reception&) = delete;
    ~Reception();

    // Takes the item's token, if it has one, and finds what it stands for; else looks for the whole file, which arrived
    // before and could not be placed, then for bytes that an earlier transfer has left. With none no file is made yet.
    // The target has been looked at.
    Task<Result<void>> open(RunTarget target, std::stop_token stop);

    // Whether it goes on from a token: from then on, no longer from the first byte.
    [[nodiscard]] bool isResumed() const { return resumed_ && !isAdopted_; }

    // Whether it goes on from bytes that an earlier transfer has left: that is no resumed transfer.
    [[nodiscard]] bool isAdopted() const { return isAdopted_; }

    // Whether nothing has come that would show that those bytes can be gone on from.
    [[nodiscard]] bool isFruitless() const;

    // Whether what it goes on from are all bytes.
    [[nodiscard]] bool isWhole() const { return resumed_ && resumed_->isWhole(); }

    // Whether what it goes on from reached the disk, and had this checksum, before its token was written.
    [[nodiscard]] bool isOnDisk() const { return isResumed() && resumed_->checksum; }

    // The link that the token goes on with.
    [[nodiscard]] std::optional<std::string> link() const;

    // Whether bytes of several attempts, which may have met several contents, stand in the partial file.
    [[nodiscard]] bool isJoined() const { return isJoined_; }

    // The rest: one attempt after the other while trying again may mend what failed, each from where the one before
    // ended, or from the first byte where there is no way to go on; and beside it others, where that pays. Keeps the
    // item's progress and speed. Fails with the last failure; the tries say whether that is for good.
    Task<Result<void>> receive(std::string link, std::stop_token stop);

    // Whether bytes come, although the first connection waits for its next attempt.
    [[nodiscard]] bool comesOtherwise() const { return sides_ && sides_->areBringing(); }

    // Returns when all bytes are written, with their checksum if `mustKnowChecksum`, even where it has to be read.
    Task<Result<ArrivedBytes>> finish(bool mustKnowChecksum);

    // Ends the reception and makes durable what has arrived: the token to go on with, or none where there is no way;
    // then nothing has to be kept. With a limit, the token counts what is written when the volume takes longer.
    Task<std::optional<ByteBlob>> keep(std::optional<std::chrono::milliseconds> limit);

    // The token of the whole file, after finish(). Without a checksum: the bytes need not be on the disk.
    [[nodiscard]] std::optional<ByteBlob> tokenOfWhole() const;

    // The same with the checksum, once all bytes are on the disk; none when they are not there any more.
    Task<std::optional<ByteBlob>> keepWhole();

    // Ends the reception and removes what has arrived.
    void discard();

    // The same, and begins a new one from the first byte.
    void beginAnew();

    // Ends the reception and leaves what has arrived to the next transfer of the file, if there can be one; else as
    // discard().
    void letGo();

    // What has arrived is not what it should be: nobody is to go on from it.
    void spoil() { isSpoilt_ = true; }

    // That are open for it.
    [[nodiscard]] int connections() const { return (isTrying_ ? 1 : 0) + (sides_ ? sides_->count() : 0); }

    // Of the volume on which the bytes are.
    [[nodiscard]] const std::string& lane() const { return place_.lane; }

    // None before open() was successful.
    [[nodiscard]] const PartialFile* partial() const { return partial_.get(); }

private:
    Task<Result<void>> goOnFrom(ResumePoint point, std::stop_token stop);
    void dropToken();
    Task<bool> findWhole(std::stop_token stop);

    // From where a transfer goes on: what its token or an earlier transfer says, and which bytes are there.
    struct Standing {
        ResumePoint point;
        std::vector<NotedPart> parts;
    };

    Task<Result<Standing>> withNote(Standing standing, ReceivingFolders::Place place);
    Task<Result<void>> adoptOrBegin(std::stop_token stop);
    Task<Result<void>> adopt(Leftover left, std::stop_token stop);
    Task<Result<void>> reopen();
    void goOnIn(ReceivingFolders::Place place, Standing standing);
    void receiveIn(ReceivingFolders::Place place, PartialNote begun);
    void noteEverySecond();
    void forget();
    [[nodiscard]] std::optional<ByteBlob> tokenOfWhole(ByteCount length, std::optional<Checksum> checksum) const;
    // What follows on an attempt.
    enum class Next { nothing, sameByte, firstByte, newLink };

    struct AttemptEnd {
        Next next = Next::nothing;
        std::optional<Error> error = {};
    };

    Task<Result<void>> receiveAll(std::stop_token stop);
    void beginSides(std::stop_token stop);
    void endSides();
    [[nodiscard]] ExpectedAnswer expectedAnswer(const ByteRange& range) const;
    Task<AttemptEnd> attempt(HostBrake::Pass pass, std::shared_ptr<PartReceiver> receiver, std::stop_token stop);
    [[nodiscard]] TransferRequest request(const ExpectedAnswer& expected) const;
    [[nodiscard]] AttemptEnd judge(const ExpectedAnswer& expected, TransferEnd end, HostBrake::Pass pass,
                                   const PartReceiver& receiver);
    [[nodiscard]] std::optional<Error> errorOf(const PartReceiver& receiver, TransferEnd& end) const;
    [[nodiscard]] bool canGoOn() const;
    Task<Result<void>> askForLink(Error refusal, std::stop_token stop);
    void progressed();
    [[nodiscard]] std::optional<ByteBlob> tokenFor(const ArrivedBytes& arrived) const;

    RunSurroundings& around_;
    DownloadPointer item_;
    Tries& tries_;
    SpeedMeter speed_;
    std::optional<ResumePoint> resumed_;  // also where it is adopted: what it goes on from
    bool isAdopted_ = false;
    bool isSpoilt_ = false;
    std::string link_;
    UUID name_;  // of the partial file
    ReceivingFolders::Place place_;
    ReceivingFolders::Place chosen_;  // where a new partial file belongs
    std::shared_ptr<PartialFile> partial_;
    Subscription noting_;
    ByteCount begunWith_ = 0;  // bytes that it goes on from
    ByteCount furthest_ = 0;   // bytes of the file that have come
    bool isJoined_ = false;
    bool refusesRanges_ = false;
    bool isTrying_ = false;                   // an attempt of the first connection is under way
    std::unique_ptr<SideConnections> sides_;  // while it receives
};

}  // namespace tovri
