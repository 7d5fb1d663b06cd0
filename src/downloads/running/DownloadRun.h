#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "downloads/running/RunPlacement.h"
#include "downloads/running/RunSurroundings.h"
#include "downloads/running/receiving/Reception.h"

namespace tovri {

// The way of one download from its slot to its end: tell() is the whole of it, top to bottom. Lives in the frame of the
// task that awaits it. What the user wants meanwhile reaches it through the operations below, which only leave their
// wish and wake it.
class DownloadRun {
public:
    using Path = std::filesystem::path;

    // `around` outlives the run. The item's `run` is this run as long as it is the item's current one.
    DownloadRun(RunSurroundings& around, DownloadPointer item);
    DownloadRun(const DownloadRun&) = delete;
    DownloadRun& operator=(const DownloadRun&) = delete;
    ~DownloadRun();

    // From the link, or from where the item's token says, to the file under its name.
    Task<> tell();

    // For a file that waits in the staging folder since before the last start.
    Task<> tellFromConflict(Path staged);

    // Keeps what has arrived and pauses the item; only while its transfer is under way, or waits to be tried again.
    void pause();

    // After pause, before the item is paused: it goes on instead as soon as there is a slot.
    void goOnAfterPause();

    // Keeps what has arrived and queues the item; not while its file is being placed.
    void yieldSlot();

    // Keeps what has arrived and leaves the item as it is: the process is about to end.
    void suspend();

    // The item has another future. What has arrived is left to whoever may ask for it, or goes.
    void abandon();

    // Before abandon(), while it waits for the user: the staged file stays where it is.
    void leaveStaged() { placement_.leaveStaged(); }

    // All bytes have come.
    [[nodiscard]] bool isPlacing() const { return stage_ == Stage::placement; }

    [[nodiscard]] bool isWaitingForUser() const { return placement_.isWaitingForUser(); }

    // Over which its bytes come at the moment.
    [[nodiscard]] int connections() const { return reception_.connections(); }

private:
    enum class Stage { lookUp, transfer, placement };
    enum class Wish { goOn, pause, goOnLater, suspend, abandon };

    // What failed on the way, or nothing.
    Task<Result<void>> goTheWay();
    Task<Result<void>> findTarget();
    Task<Result<void>> readRecord();
    Task<Result<void>> checkDestination();
    Task<Result<std::string>> findLink();
    Task<Result<void>> receiveRest();
    Task<Result<void>> prove();
    void noteWhole();

    Task<> conclude(Result<void> way);
    Task<> concludeFailed(Error error);
    void noteFailure(std::string what);
    Task<> keepArrived();
    void noteVolume(const std::optional<ByteBlob>& token);
    Task<> failTransfer(Error error);
    Task<> keepForLater();
    Task<> holdForService();
    Task<> holdWithBytes();
    Task<> holdForRoom(Path folder, std::string lane);
    Task<> holdWhole(ErrorCase reason);
    Task<> holdStaged();
    void hold();
    Task<> startOver(Error error);
    [[nodiscard]] static std::shared_ptr<Tries> triesOf(const RunSurroundings& around, Download& item);
    void showWait(HoldPointer wait);

    void wish(Wish wish);

    [[nodiscard]] bool isCurrent() const { return item_->run == this; }

    [[nodiscard]] bool isToGoOn() const { return isCurrent() && wish_ == Wish::goOn && !hold_; }

    [[nodiscard]] bool isForLater(const Error& error) const;
    [[nodiscard]] std::optional<Checksum> expectedChecksum() const;

    RunSurroundings& around_;
    DownloadPointer item_;
    Stage stage_ = Stage::lookUp;
    Wish wish_ = Wish::goOn;
    std::stop_source stop_;                    // of what the wish ends
    std::shared_ptr<Tries> tries_;             // the item's
    std::shared_ptr<LinksAhead::Look> ahead_;  // of its link; null where there is none
    Reception reception_;
    RunPlacement placement_;
    RunTarget target_;
    HoldPointer hold_;        // why the item has to wait
    Subscription claim_;      // to the room that it needs there
    bool isSpliced_ = false;  // what has arrived is of two contents
};

}  // namespace tovri
