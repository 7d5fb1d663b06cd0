#include "downloads/running/DownloadRun.h"

#include <utility>

#include "downloads/placing/Destination.h"
#include "downloads/retrying/RetryingDownloadService.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

namespace {

// Nothing comes among what Tovri keeps for itself, and nothing takes the place of a folder above it.
Error belongsToTovri(const std::filesystem::path& target) {
    return Error(ErrorCase::file, "\"" + target.native() +
                                      "\" belongs to Tovri's own data. Choose another folder, then queue it again.");
}

std::string otherChecksum(const Checksum& arrived, const Checksum& expected) {
    return "Its checksum is " + arrived.text() + " instead of " + expected.text() + ".";
}

}  // namespace

DownloadRun::DownloadRun(RunSurroundings& around, DownloadPointer item)
    : around_(around),
      item_(std::move(item)),
      tries_(triesOf(around, *item_)),
      ahead_(around.links.take(item_->fileID)),
      reception_(around, item_, *tries_),
      placement_(around, item_, *this, reception_) {
    item_->run = this;
    tries_->onWait([this](HoldPointer wait) { showWait(std::move(wait)); });
    tries_->onFailure([this](std::string what) { noteFailure(std::move(what)); });
}

DownloadRun::~DownloadRun() {
    around_.placement.runEnded(this);
    tries_->onWait(nullptr);
    tries_->onFailure(nullptr);
    if (!isCurrent()) return;
    item_->run = nullptr;
    if (item_->status != DownloadStatus::queued || !item_->hold) item_->tries.reset();
}

// Those of the runs before, if they failed without a byte.
std::shared_ptr<Tries> DownloadRun::triesOf(const RunSurroundings& around, Download& item) {
    const std::chrono::minutes patience(around.preferences ? around.preferences->patienceMinutes() : 10);
    if (!item.tries)
        item.tries = std::make_shared<Tries>(Tries::Ports{around.loop, around.random, around.clock, around.brakes},
                                             Tries::Kind::item, patience);
    return item.tries;
}

void DownloadRun::showWait(HoldPointer wait) {
    if (!isCurrent()) return;
    if (reception_.comesOtherwise()) wait.reset();
    if (wait) item_->speed = {};
    around_.list.wait(*item_, std::move(wait));
}

// --- The way ---

Task<> DownloadRun::tell() {
    Result<void> way = co_await goTheWay();
    co_await conclude(std::move(way));
}

Task<Result<void>> DownloadRun::goTheWay() {
    Result<void> step = co_await findTarget();
    if (!step || !isToGoOn()) co_return step;
    step = co_await checkDestination();
    if (!step || !isToGoOn()) co_return step;
    if (!tries_->isStruggling()) around_.list.tellBegun(*item_);
    if (!isToGoOn()) co_return step;
    if (item_->resumeData)
        stage_ = Stage::transfer;
    else if (item_->isBegunAgain && !item_->receivedFile)
        step = co_await readRecord();
    if (!step || !isToGoOn()) co_return step;
    step = co_await reception_.open(target_, stop_.get_token());
    if (!step || !isToGoOn()) co_return step;
    if (reception_.isResumed() || reception_.isWhole()) stage_ = Stage::transfer;
    if (!reception_.isWhole()) {
        step = co_await receiveRest();
        if (!step || !isToGoOn()) co_return step;
    }
    step = co_await prove();
    if (!step || !isToGoOn()) co_return step;
    noteWhole();
    stage_ = Stage::placement;
    step = co_await placement_.place(target_, reception_.partial()->path(), stop_.get_token());
    co_return step;
}

Task<> DownloadRun::tellFromConflict(Path staged) {
    stage_ = Stage::placement;
    placement_.takeStaged(staged);
    Result<void> way = co_await findTarget();
    if (way && isToGoOn()) way = co_await checkDestination();
    if (way && isToGoOn()) way = co_await placement_.place(target_, staged, stop_.get_token());
    if (!isCurrent()) {
        placement_.removeReceived();
        co_return;
    }
    co_await conclude(std::move(way));
}

// --- From the destination to the bytes ---

Task<Result<void>> DownloadRun::findTarget() {
    Result<Path> target = destination(*item_);
    if (!target) co_return failure(target);
    target_.path = std::move(*target);
    Result<std::string> lane = co_await around_.lanes.laneOf(target_.path.parent_path(), stop_.get_token());
    if (!lane) co_return failure(lane);
    target_.lane = std::move(*lane);
    co_return Result<void>();
}

// put.io may have another file under this ID than when the item was queued.
Task<Result<void>> DownloadRun::readRecord() {
    RetryingDownloadService service(*around_.service, *tries_);
    Result<PutIOFile> record = co_await service.file(item_->fileID, stop_.get_token());
    if (!record) co_return failure(record);
    if (isCurrent()) learn(*item_, *record);
    co_return Result<void>();
}

// Whether the file can go there now; else `hold_` says what it waits for.
Task<Result<void>> DownloadRun::checkDestination() {
    const Path folder = target_.path.parent_path();
    Result<DestinationFacts> facts =
        co_await around_.destinations.lookFor(target_.path, target_.lane, stop_.get_token());
    if (!facts && facts.error().isCancellation()) co_return failure(facts);
    if (!isToGoOn()) co_return Result<void>();
    if (!facts) {
        hold_ = DestinationCheck::unreachable(folder);
        co_return Result<void>();
    }
    if (facts->isOurs) co_return failure(belongsToTovri(target_.path));
    target_.facts = std::move(*facts);
    hold_ = around_.destinations.obstacle(*item_, *target_.facts);
    if (!hold_) claim_ = around_.destinations.claim(item_, *target_.facts);
    co_return Result<void>();
}

Task<Result<void>> DownloadRun::receiveRest() {
    std::optional<std::string> link = reception_.link();
    if (!link) {
        Result<std::string> found = co_await findLink();
        if (!found) co_return failure(found);
        if (!isToGoOn()) co_return Result<void>();
        link = std::move(*found);
    }
    stage_ = Stage::transfer;
    Result<void> received = co_await reception_.receive(std::move(*link), stop_.get_token());
    co_return received;
}

Task<Result<std::string>> DownloadRun::findLink() {
    std::optional<std::string> ahead;
    if (ahead_) ahead = co_await around_.links.linkOf(std::exchange(ahead_, nullptr), stop_.get_token());
    Result<std::string> link(std::move(ahead).value_or(""));
    if (link->empty()) {
        RetryingDownloadService service(*around_.service, *tries_);
        link = co_await service.downloadLink(item_->fileID, stop_.get_token());
    }
    if (link && isCurrent() && around_.isQueuePaused && wish_ == Wish::goOn) wish_ = Wish::pause;
    co_return link;
}

// What has arrived is compared with put.io's record. Bytes that were gone on from and do not fit its checksum are
// fetched anew, once; any other difference is the user's to judge.
Task<Result<void>> DownloadRun::prove() {
    const auto expected = expectedChecksum();
    Result<ArrivedBytes> arrived = co_await reception_.finish(listedChecksum(*item_) || item_->receivedFile);
    if (!arrived) co_return failure(arrived);
    if (!isToGoOn()) co_return Result<void>();
    const bool isOther = reception_.isJoined() && expected && expected != arrived->checksum;
    if (isOther && reception_.isAdopted()) {
        noteFailure(otherChecksum(*arrived->checksum, *expected));
        reception_.beginAnew();
        Result<void> proven = co_await receiveRest();
        if (proven && isToGoOn()) proven = co_await prove();
        co_return proven;
    }
    if (isOther) reception_.spoil();
    isSpliced_ = isOther && (item_->receivedFile || !std::exchange(item_->hasStartedOver, true));
    if (isSpliced_) co_return failure(Error(ErrorCase::transport, otherChecksum(*arrived->checksum, *expected)));
    item_->bytesDownloaded = arrived->length;
    item_->arrivedChecksum = arrived->checksum ? std::optional(arrived->checksum->text()) : std::nullopt;
    co_return Result<void>();
}

// What the bytes that were gone on from have to give; those of a file that had arrived whole, what they gave then.
std::optional<Checksum> DownloadRun::expectedChecksum() const {
    if (item_->receivedFile && reception_.isOnDisk()) return std::nullopt;
    if (item_->receivedFile && item_->arrivedChecksum) return Checksum::parse(*item_->arrivedChecksum);
    return listedChecksum(*item_);
}

// From here on the queue file says that nothing has to be fetched.
void DownloadRun::noteWhole() {
    if (item_->receivedFile) return;
    if (auto token = reception_.tokenOfWhole()) item_->receivedFile = std::make_shared<const ByteBlob>(*token);
    around_.saves.request(Urgency::gathered);
}

// --- How it ends ---

Task<> DownloadRun::conclude(Result<void> way) {
    if (!isCurrent() && stage_ == Stage::placement && way) {
        reception_.discard();
    } else if (!isCurrent()) {
        reception_.letGo();
    } else if (wish_ != Wish::goOn && stage_ != Stage::placement) {
        co_await keepArrived();
    } else if (hold_ && stage_ == Stage::placement) {
        co_await holdStaged();
    } else if (hold_) {
        hold();
    } else if (way) {
        co_return;
    } else if (tries_->takeYield()) {
        co_await holdForService();
    } else {
        co_await concludeFailed(std::move(way.error()));
    }
}

Task<> DownloadRun::concludeFailed(Error error) {
    noteFailure(error.description);
    if (isForLater(error)) {
        if (stage_ == Stage::lookUp)
            co_await holdForRoom(target_.path.parent_path(), target_.lane);
        else if (stage_ == Stage::transfer)
            co_await holdWithBytes();
        else
            co_await holdWhole(error.code);
    } else if (stage_ == Stage::lookUp) {
        reception_.letGo();
        item_->error = error.description;
        around_.list.take(*item_, StatusStep::fail);
    } else if (stage_ == Stage::transfer) {
        co_await failTransfer(std::move(error));
    } else {
        co_await placement_.keepWhole();
        if (!isCurrent()) co_return;
        item_->stagedURL.reset();
        around_.settlement.markFailed(item_, error.description);
    }
}

// Saved with whatever is saved next: nothing is saved for its sake.
void DownloadRun::noteFailure(std::string what) {
    if (isCurrent()) item_->noteFailedTry(around_.clock.now(), std::move(what));
}

// Whether the disk has to change before it makes sense to go on. An answer that the user gave would be forgotten: then
// it is for the user to go on.
bool DownloadRun::isForLater(const Error& error) const {
    if (item_->status != DownloadStatus::downloading) return false;
    if (stage_ == Stage::lookUp) return error.code == ErrorCase::diskFull;
    if (stage_ == Stage::transfer) return error.code == ErrorCase::diskFull && reception_.partial();
    return error.code == ErrorCase::diskFull || error.code == ErrorCase::otherVolume;
}

// --- What is wanted meanwhile ---

void DownloadRun::wish(Wish wish) {
    wish_ = wish;
    stop_.request_stop();
}

void DownloadRun::pause() {
    const bool isTrying = stage_ == Stage::lookUp && tries_->isStruggling();
    if (stage_ != Stage::transfer && !isTrying) return;
    if (wish_ == Wish::goOn) wish(Wish::pause);
    if (wish_ == Wish::goOnLater) wish_ = Wish::pause;
}

void DownloadRun::goOnAfterPause() {
    if (wish_ == Wish::pause) wish_ = Wish::goOnLater;
}

void DownloadRun::yieldSlot() {
    if (stage_ != Stage::placement && wish_ == Wish::goOn) wish(Wish::goOnLater);
}

void DownloadRun::suspend() {
    if (stage_ != Stage::placement && wish_ == Wish::goOn) wish(Wish::suspend);
}

void DownloadRun::abandon() {
    item_->run = nullptr;
    item_->tries.reset();
    wish(Wish::abandon);
}

}  // namespace tovri
