#include <utility>

#include "downloads/running/DownloadRun.h"

// What each end of a way leaves: which one it is, DownloadRun::conclude says.
namespace tovri {

using Urgency = SaveSchedule::Urgency;

// What has arrived reaches the disk before its token counts, unless that takes too long: then the token comes first.
Task<> DownloadRun::keepArrived() {
    if (!item_->receivedFile) {
        const bool hasBegun = reception_.partial() != nullptr;
        std::optional<ByteBlob> token = co_await reception_.keep(std::chrono::seconds(1));
        if (!token || !isCurrent()) reception_.letGo();
        if (!isCurrent()) co_return;
        noteVolume(token);
        if (hasBegun) item_->resumeData = std::move(token);
    } else {
        around_.kept.note(item_);
    }
    item_->speed = {};
    const bool isPaused = wish_ == Wish::pause || (wish_ == Wish::goOnLater && around_.isQueuePaused);
    if (isPaused) around_.list.take(*item_, StatusStep::pause);
    if (wish_ == Wish::goOnLater && !isPaused) around_.list.take(*item_, StatusStep::yieldSlot);
    around_.saves.request(Urgency::soon);
}

Task<> DownloadRun::failTransfer(Error error) {
    const bool isResumeFailed = reception_.isResumed() && !tries_->isUsedUp();
    if (isResumeFailed || isSpliced_ || !reception_.partial()) {
        co_await startOver(std::move(error));
        co_return;
    }
    const bool isFruitless = reception_.isFruitless();
    if (isFruitless) reception_.discard();
    std::optional<ByteBlob> token;
    if (!isFruitless) token = co_await reception_.keep(std::nullopt);
    if (!isFruitless) reception_.letGo();
    if (!isCurrent()) co_return;
    noteVolume(token);
    item_->resumeData = std::move(token);
    around_.settlement.markFailed(item_, error.description);
    around_.saves.request(Urgency::gathered);
}

// The next run is to wait for the volume on which these bytes are, and needs no room there for what lies between them.
void DownloadRun::noteVolume(const std::optional<ByteBlob>& token) {
    const auto point = token ? ResumePoint::parse(*token) : std::nullopt;
    if (point) item_->onDisk = reception_.partial()->parts().end();
    if (point && point->folder && target_.facts)
        around_.destinations.notePlaced(target_.path.parent_path(), *target_.facts);
}

// What has arrived stays, with its token where there is one.
Task<> DownloadRun::keepForLater() {
    std::optional<ByteBlob> token = co_await reception_.keep(std::nullopt);
    if (!token || !isCurrent()) reception_.letGo();
    if (!isCurrent()) co_return;
    const auto kept = token ? ResumePoint::parse(*token) : std::nullopt;
    item_->bytesDownloaded = kept ? reception_.partial()->taken() : 0;
    if (!kept) item_->progress = 0;
    noteVolume(token);
    item_->resumeData = std::move(token);
}

// The slot goes to another, and the item goes on when put.io, or the way to it, may be good again.
Task<> DownloadRun::holdForService() {
    if (reception_.partial() && !item_->receivedFile) co_await keepForLater();
    if (!isCurrent()) co_return;
    hold_ = tries_->hold();
    hold();
}

Task<> DownloadRun::holdWithBytes() {
    co_await keepForLater();
    if (!isCurrent()) co_return;
    co_await holdForRoom(reception_.partial()->path().parent_path(), reception_.lane());
}

// The item waits until the volume of `folder` has room for what is missing.
Task<> DownloadRun::holdForRoom(Path folder, std::string lane) {
    claim_.reset();
    Result<DestinationFacts> facts = co_await around_.destinations.look(folder, std::move(lane), std::stop_token());
    if (!isCurrent()) co_return;
    const ByteCount missing = DestinationCheck::missing(*item_);
    hold_ = facts ? around_.destinations.refusal(missing, folder, *facts) : DestinationCheck::unreachable(folder);
    hold();
}

// The whole file stays, and the item waits until the destination's volume has room for it, or is back. With a volume
// that is away the file may be away too: then the token from before the placement goes on standing for it.
Task<> DownloadRun::holdWhole(ErrorCase reason) {
    if (reason == ErrorCase::diskFull) co_await placement_.keepWhole();
    claim_.reset();
    const Path folder = target_.path.parent_path();
    Result<DestinationFacts> facts = co_await around_.destinations.look(folder, target_.lane, std::stop_token());
    if (!isCurrent()) co_return;
    if (item_->receivedFile) around_.kept.note(item_);
    if (!item_->receivedFile) item_->forgetArrival();
    const bool isCopy = reception_.lane() != target_.lane;
    if (reason == ErrorCase::otherVolume) around_.destinations.notePlaced(folder, *target_.facts);
    if (facts && reason == ErrorCase::otherVolume) hold_ = around_.destinations.obstacle(*item_, *facts);
    if (facts && reason == ErrorCase::diskFull)
        hold_ = around_.destinations.refusal(isCopy ? item_->expectedSize() : 0, folder, *facts);
    if (!hold_) hold_ = DestinationCheck::unreachable(folder);
    hold();
}

// The question is asked again when the destination is there, or takes files, again.
Task<> DownloadRun::holdStaged() {
    co_await placement_.keepWhole();
    if (!isCurrent()) co_return;
    item_->stagedURL.reset();
    if (!item_->receivedFile) item_->forgetArrival();
    hold();
}

void DownloadRun::hold() {
    claim_.reset();
    item_->speed = {};
    const bool isPaused = around_.isQueuePaused || wish_ == Wish::pause;
    if (isPaused && item_->status == DownloadStatus::downloading)
        around_.list.take(*item_, StatusStep::pause);
    else
        around_.list.hold(*item_, hold_);
    around_.saves.request(Urgency::gathered);
}

// What has arrived stays for the transfer that is begun then, unless it is what failed.
Task<> DownloadRun::startOver(Error error) {
    if (reception_.partial()) {
        Result<ArrivedBytes> written = co_await reception_.finish(false);
        if (!written) reception_.spoil();
    }
    reception_.letGo();
    if (!isCurrent()) co_return;
    around_.log.line("[DownloadManager] Resume failed for " + item_->fileName + ", restarting: " + error.description);
    item_->resumeData.reset();
    item_->receivedFile.reset();
    item_->progress = 0;
    item_->bytesDownloaded = 0;
    item_->speed = {};
    around_.list.take(*item_, StatusStep::startOver);
    around_.saves.request(Urgency::gathered);
}

}  // namespace tovri
