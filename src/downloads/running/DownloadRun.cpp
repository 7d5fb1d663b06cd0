#include "downloads/running/DownloadRun.h"

#include <utility>

#include "downloads/placing/Destination.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

DownloadRun::DownloadRun(RunSurroundings& around, DownloadPointer item)
    : around_(around), item_(std::move(item)), reception_(around, item_), staging_(around) {
    item_->run = this;
}

DownloadRun::~DownloadRun() {
    around_.placement.runEnded(this);
    if (isCurrent()) item_->run = nullptr;
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
    around_.list.tellBegun(*item_);
    if (!isToGoOn()) co_return step;
    if (item_->resumeData)
        stage_ = Stage::transfer;
    else if (item_->isBegunAgain && !item_->receivedFile)
        step = co_await readRecord();
    if (!step || !isToGoOn()) co_return step;
    step = co_await reception_.open(target_.parent_path(), targetLane_, stop_.get_token());
    if (!step || !isToGoOn()) co_return step;
    if (reception_.isResumed()) stage_ = Stage::transfer;
    if (!reception_.isWhole()) {
        step = co_await receiveRest();
        if (!step || !isToGoOn()) co_return step;
    }
    step = co_await prove();
    if (!step || !isToGoOn()) co_return step;
    noteWhole();
    step = co_await place(reception_.partial()->path());
    co_return step;
}

Task<> DownloadRun::tellFromConflict(Path staged) {
    stage_ = Stage::placement;
    received_ = staged;
    Result<void> way = co_await findTarget();
    if (way && isCurrent()) way = co_await place(staged);
    if (!isCurrent()) {
        removeOnVolume(staged);
        co_return;
    }
    co_await conclude(std::move(way));
}

// --- From the destination to the bytes ---

Task<Result<void>> DownloadRun::findTarget() {
    Result<Path> target = destination(*item_);
    if (!target) co_return failure(target);
    target_ = std::move(*target);
    Result<std::string> lane = co_await around_.lanes.laneOf(target_.parent_path(), stop_.get_token());
    if (!lane) co_return failure(lane);
    targetLane_ = std::move(*lane);
    Result<void> isOutside = co_await keepOutOfData();
    co_return isOutside;
}

// Nothing comes among what Tovri keeps for itself, and nothing takes the place of a folder above it.
Task<Result<void>> DownloadRun::keepOutOfData() {
    auto look = [&files = around_.files, data = around_.dataFolder, target = target_]() -> Result<bool> {
        return files.isWithin(target, data) || files.isWithin(data, target);
    };
    Result<bool> isInside =
        co_await onVolume<bool>(around_.loop, around_.volumes, targetLane_, stop_.get_token(), std::move(look));
    if (!isInside) co_return failure(isInside);
    if (!*isInside) co_return Result<void>();
    co_return failure(Error(ErrorCase::file, "\"" + target_.native() +
                                                 "\" belongs to Tovri's own data. Choose another folder, then queue "
                                                 "it again."));
}

// put.io may have another file under this ID than when the item was queued.
Task<Result<void>> DownloadRun::readRecord() {
    Result<PutIOFile> record = co_await around_.service->file(item_->fileID, stop_.get_token());
    if (!record) co_return failure(record);
    if (isCurrent()) learn(*item_, *record);
    co_return Result<void>();
}

// Whether the file can go there now; else `hold_` says what it waits for.
Task<Result<void>> DownloadRun::checkDestination() {
    const Path folder = target_.parent_path();
    Result<DestinationFacts> facts = co_await around_.destinations.look(folder, targetLane_, stop_.get_token());
    if (!facts && facts.error().isCancellation()) co_return failure(facts);
    if (!isToGoOn()) co_return Result<void>();
    if (!facts) {
        hold_ = DestinationCheck::unreachable(folder);
        co_return Result<void>();
    }
    facts_ = std::move(*facts);
    hold_ = around_.destinations.obstacle(*item_, *facts_);
    if (!hold_) claim_ = around_.destinations.claim(item_, *facts_);
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
    Result<std::string> link = co_await around_.service->downloadLink(item_->fileID, stop_.get_token());
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
    const bool isOther = reception_.isResumed() && expected && expected != arrived->checksum;
    if (isOther && (item_->receivedFile || !std::exchange(item_->hasStartedOver, true)))
        co_return failure(Error(ErrorCase::transport, "Its checksum is " + arrived->checksum->text() + " instead of " +
                                                          expected->text() + "."));
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

// --- The placement ---

// From here on the queue file says that nothing has to be fetched.
void DownloadRun::noteWhole() {
    if (item_->receivedFile) return;
    if (auto token = reception_.tokenOfWhole()) item_->receivedFile = std::make_shared<const ByteBlob>(*token);
    around_.saves.request(Urgency::gathered);
}

Placement::Request DownloadRun::placementOf(const Path& received) const {
    return {.run = this,
            .item = item_->id,
            .bookmark = item_->securityScopeBookmark,
            .received = received,
            .destination = target_,
            .lane = targetLane_,
            .isDeletedLater = isDeletedLater(*item_),
            .volume = facts_ ? std::optional(facts_->volume.number) : std::nullopt};
}

Task<Result<void>> DownloadRun::place(Path received) {
    stage_ = Stage::placement;
    received_ = received;
    if (std::exchange(item_->speed, 0) != 0) around_.list.tellProgress(*item_);
    Result<Path> placed = co_await around_.placement.place(placementOf(received), stop_.get_token());
    const bool isTaken = !placed && placed.error().code == ErrorCase::alreadyExists;
    if (placed && isCurrent()) co_await secure(*placed);
    if (!isCurrent()) {
        if (placed) removeOnVolume(*placed);
        co_return Result<void>();
    }
    if (isTaken) {
        Result<void> resolved = co_await resolveConflict(received);
        co_return resolved;
    }
    if (!placed) co_return failure(placed);
    settlePlaced(*placed);
    co_return Result<void>();
}

// What put.io is going to delete is durable before the queue says that it has arrived; or nothing is deleted.
Task<> DownloadRun::secure(Path placed) {
    if (!isDeletedLater(*item_)) co_return;
    std::optional<FileStamp> stamp = co_await around_.placement.stamp(placed, targetLane_);
    Result<void> durable = co_await around_.durability.secure(std::move(placed), targetLane_);
    if (!isCurrent()) co_return;
    item_->durable = durable.has_value();
    const PartialFile* received = reception_.partial();
    const bool isThatFile = stamp && received && received->begun() == stamp->identity;
    item_->placedAs = isThatFile ? stamp : std::nullopt;
}

void DownloadRun::settlePlaced(const Path& placed) {
    item_->stagedURL.reset();
    item_->receivedFile.reset();
    if (facts_) around_.destinations.notePlaced(target_.parent_path(), *facts_);
    around_.settlement.markCompleted(item_, placed);
}

// Follows the preference, the user's answer for all, or the user's answer to this one.
Task<Result<void>> DownloadRun::resolveConflict(Path received) {
    std::optional<ConflictChoice> choice = effectiveConflictChoice();
    Placement::Request request = placementOf(received);
    if (!choice) {
        const bool isOnlyCopy = co_await around_.placement.isOnlyCopy(target_, targetLane_);
        if (!isCurrent()) co_return Result<void>();
        choice = around_.conflicts.rememberedChoice(conflictOf(received, isOnlyCopy));
        request.consent = isOnlyCopy ? ReplaceConsent::informed : ReplaceConsent::user;
    }
    if (!choice) {
        Result<Path> staged = co_await staging_.stage(received, reception_.lane());
        if (!staged) co_return failure(cannotBeStaged(staged.error()));
        received = received_ = *staged;
        if (!isCurrent()) {
            removeOnVolume(received);
            co_return Result<void>();
        }
        request.received = received;
        item_->receivedFile.reset();
        choice = co_await askUser(received, request.consent == ReplaceConsent::informed);
        if (!choice || !isCurrent()) {
            removeOnVolume(received);
            if (isCurrent()) item_->stagedURL.reset();
            around_.saves.request(Urgency::soon);
            co_return Result<void>();
        }
    }
    Result<Path> placed = co_await around_.placement.apply(std::move(request), *choice, stop_.get_token());
    if (placed && !placed->empty() && isCurrent()) co_await secure(*placed);
    if (!isCurrent()) {
        // What was replaced is gone: then the new file is better than none.
        if (!placed || (*placed != target_ && !placed->empty())) removeOnVolume(placed ? *placed : received);
        co_return Result<void>();
    }
    if (!placed) co_return failure(placed);
    item_->stagedURL.reset();
    item_->receivedFile.reset();
    if (placed->empty())
        around_.settlement.markSkipped(item_);
    else
        settlePlaced(*placed);
    if (wasUserAsked_) around_.saves.request(Urgency::soon);
    co_return Result<void>();
}

// No case that says something of the destination: this disk is another.
Error DownloadRun::cannotBeStaged(const Error& reason) const {
    return {ErrorCase::file, "\"" + item_->fileName + "\" cannot be set aside until you decide: " + reason.description};
}

std::optional<ConflictChoice> DownloadRun::effectiveConflictChoice() const {
    if (!around_.preferences) return ConflictChoice::keepBoth;
    switch (around_.preferences->conflictBehavior()) {
        case ConflictBehavior::ask:
            return std::nullopt;
        case ConflictBehavior::keepBoth:
            return ConflictChoice::keepBoth;
        case ConflictBehavior::replace:
            return ConflictChoice::replace;
        case ConflictBehavior::skip:
            return ConflictChoice::skip;
    }
    return ConflictChoice::keepBoth;
}

FileConflict DownloadRun::conflictOf(Path received, bool isOnlyCopy) const {
    return {.id = around_.random.makeUUID(),
            .download = item_,
            .existingURL = target_,
            .tempURL = std::move(received),
            .isOnlyCopy = isOnlyCopy,
            .continuation = {}};
}

Task<ConflictResolution> DownloadRun::askUser(Path received, bool isOnlyCopy) {
    item_->stagedURL = received.native();
    item_->speed = 0;
    around_.list.take(*item_, StatusStep::ask);
    if (!isCurrent()) co_return std::nullopt;
    FileConflict conflict = conflictOf(std::move(received), isOnlyCopy);
    const ConflictResolution remembered = around_.conflicts.rememberedChoice(conflict);
    around_.saves.request(remembered ? Urgency::gathered : Urgency::soon);
    if (remembered) co_return remembered;
    isWaitingForUser_ = true;
    wasUserAsked_ = true;
    around_.runWaits();
    Result<ConflictResolution> answer =
        co_await Answer<ConflictResolution>(around_.loop, {}, [this, &conflict](auto done) {
            conflict.continuation = [done = std::move(done)](ConflictResolution given) mutable { done(given); };
            around_.conflicts.presentOrQueueConflict(std::move(conflict));
            return Subscription();
        });
    isWaitingForUser_ = false;
    co_return *answer;
}

// --- How it ends ---

Task<> DownloadRun::conclude(Result<void> way) {
    if (!isCurrent()) {
        reception_.discard();
    } else if (wish_ != Wish::goOn && stage_ != Stage::placement) {
        co_await keepArrived();
    } else if (hold_) {
        hold();
    } else if (way) {
        co_return;
    } else if (stage_ == Stage::lookUp) {
        item_->error = way.error().description;
        around_.list.take(*item_, StatusStep::fail);
    } else if (isForLater(way.error())) {
        if (stage_ == Stage::transfer)
            co_await holdWithBytes();
        else
            co_await holdWhole(way.error().code);
    } else if (stage_ == Stage::transfer) {
        co_await failTransfer(std::move(way.error()));
    } else {
        co_await keepWhole();
        if (!isCurrent()) co_return;
        item_->stagedURL.reset();
        around_.settlement.markFailed(item_, way.error().description);
    }
}

// Whether the disk has to change before it makes sense to go on. An answer that the user gave would be forgotten: then
// it is for the user to go on.
bool DownloadRun::isForLater(const Error& error) const {
    if (item_->status != DownloadStatus::downloading) return false;
    if (stage_ == Stage::transfer) return error.code == ErrorCase::diskFull && reception_.partial();
    return error.code == ErrorCase::diskFull || error.code == ErrorCase::otherVolume;
}

// What has arrived and cannot be placed stays for the next try, and stays once.
Task<> DownloadRun::keepWhole() {
    std::optional<ByteBlob> token;
    if (staging_.holds(received_)) {
        Result<Staging::Unstaged> unstaged = co_await staging_.unstage(received_);
        if (unstaged) received_ = std::move(unstaged->file);
        if (unstaged) token = std::move(unstaged->token);
    } else {
        token = co_await reception_.keepWhole();
    }
    if (!isCurrent() || around_.kept.hasAnother(*item_)) token.reset();
    if (!token) {
        reception_.discard();
        if (!staging_.holds(received_)) removeOnVolume(received_);
    }
    if (!isCurrent()) co_return;
    item_->receivedFile = token ? std::make_shared<const ByteBlob>(std::move(*token)) : nullptr;
    if (item_->receivedFile) around_.kept.note(item_);
}

// What has arrived reaches the disk before its token counts, unless that takes too long: then the token comes first.
Task<> DownloadRun::keepArrived() {
    if (!item_->receivedFile) {
        const bool hasBegun = reception_.partial() != nullptr;
        std::optional<ByteBlob> token = co_await reception_.keep(std::chrono::seconds(1));
        if (!token || !isCurrent()) reception_.discard();
        if (!isCurrent()) co_return;
        if (hasBegun) item_->resumeData = std::move(token);
    } else {
        around_.kept.note(item_);
    }
    item_->speed = 0;
    if (wish_ == Wish::pause) around_.list.take(*item_, StatusStep::pause);
    if (wish_ == Wish::goOnLater) around_.list.take(*item_, StatusStep::yieldSlot);
    around_.saves.request(Urgency::soon);
}

Task<> DownloadRun::failTransfer(Error error) {
    if (reception_.isResumed() || !reception_.partial()) {
        startOver(error);
        co_return;
    }
    std::optional<ByteBlob> token = co_await reception_.keep(std::nullopt);
    if (!token || !isCurrent()) reception_.discard();
    if (!isCurrent()) co_return;
    item_->resumeData = std::move(token);
    around_.settlement.markFailed(item_, error.description);
    around_.saves.request(Urgency::gathered);
}

// What has arrived stays, and the item waits until the partial file's volume has room for the rest.
Task<> DownloadRun::holdWithBytes() {
    std::optional<ByteBlob> token = co_await reception_.keep(std::nullopt);
    claim_.reset();
    const Path folder = reception_.partial()->path().parent_path();
    Result<DestinationFacts> facts = co_await around_.destinations.look(folder, reception_.lane(), std::stop_token());
    if (!token || !isCurrent()) reception_.discard();
    if (!isCurrent()) co_return;
    const auto kept = token ? ResumePoint::parse(*token) : std::nullopt;
    item_->bytesDownloaded = kept ? kept->offset : 0;
    if (!kept) item_->progress = 0;
    item_->resumeData = std::move(token);
    const ByteCount missing = DestinationCheck::missing(*item_);
    hold_ = facts ? around_.destinations.refusal(missing, folder, *facts) : DestinationCheck::unreachable(folder);
    hold();
}

// The whole file stays, and the item waits until the destination's volume has room for it, or is back. With a volume
// that is away the file may be away too: then the token from before the placement goes on standing for it.
Task<> DownloadRun::holdWhole(ErrorCase reason) {
    if (reason == ErrorCase::diskFull) co_await keepWhole();
    claim_.reset();
    const Path folder = target_.parent_path();
    Result<DestinationFacts> facts = co_await around_.destinations.look(folder, targetLane_, std::stop_token());
    if (!isCurrent()) co_return;
    if (item_->receivedFile) around_.kept.note(item_);
    if (!item_->receivedFile) item_->forgetArrival();
    const bool isCopy = reception_.lane() != targetLane_;
    if (reason == ErrorCase::otherVolume) around_.destinations.notePlaced(folder, *facts_);
    if (facts && reason == ErrorCase::otherVolume) hold_ = around_.destinations.obstacle(*item_, *facts);
    if (facts && reason == ErrorCase::diskFull)
        hold_ = around_.destinations.refusal(isCopy ? item_->expectedSize() : 0, folder, *facts);
    if (!hold_) hold_ = DestinationCheck::unreachable(folder);
    hold();
}

void DownloadRun::hold() {
    claim_.reset();
    item_->speed = 0;
    if (around_.isQueuePaused || wish_ == Wish::pause)
        around_.list.take(*item_, StatusStep::pause);
    else
        around_.list.hold(*item_, hold_);
    around_.saves.request(Urgency::gathered);
}

void DownloadRun::startOver(const Error& error) {
    around_.log.line("[DownloadManager] Resume failed for " + item_->fileName + ", restarting: " + error.description);
    reception_.discard();
    item_->resumeData.reset();
    item_->receivedFile.reset();
    item_->progress = 0;
    item_->bytesDownloaded = 0;
    item_->speed = 0;
    around_.list.take(*item_, StatusStep::startOver);
    around_.saves.request(Urgency::gathered);
}

void DownloadRun::removeOnVolume(Path file) {
    around_.volumes.run(targetLane_,
                        [&files = around_.files, file = std::move(file)] { (void)files.removeItem(file); });
}

// --- What is wanted meanwhile ---

void DownloadRun::wish(Wish wish) {
    wish_ = wish;
    stop_.request_stop();
}

void DownloadRun::pause() {
    if (stage_ != Stage::transfer) return;
    if (wish_ == Wish::goOn) wish(Wish::pause);
    if (wish_ == Wish::goOnLater) wish_ = Wish::pause;
}

void DownloadRun::goOnAfterPause() {
    if (wish_ == Wish::pause) wish_ = Wish::goOnLater;
}

void DownloadRun::suspend() {
    if (stage_ != Stage::placement && wish_ == Wish::goOn) wish(Wish::suspend);
}

void DownloadRun::abandon() {
    item_->run = nullptr;
    wish(Wish::abandon);
}

}  // namespace tovri
