#include "downloads/running/DownloadRun.h"

#include <algorithm>

#include "downloads/placing/Destination.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

namespace {

Error lostToken() {
    return {ErrorCase::transport, "The transfer cannot go on from what was saved; the download starts over."};
}

Error tooShort() {
    return {ErrorCase::transport, "The server sent fewer bytes than it announced; retry."};
}

}  // namespace

DownloadRun::DownloadRun(RunSurroundings& around, DownloadPointer item)
    : around_(around), item_(std::move(item)), speed_(around.loop.now()) {
    item_->run = this;
}

DownloadRun::~DownloadRun() {
    if (isCurrent()) item_->run = nullptr;
}

// --- The way ---

Task<> DownloadRun::tell() {
    Result<void> way = co_await goTheWay();
    co_await conclude(std::move(way));
}

Task<Result<void>> DownloadRun::goTheWay() {
    Result<void> known = co_await findLanes();
    if (!known || !isToGoOn()) co_return known;
    Result<void> opened = co_await openPartial();
    if (!opened || !isToGoOn()) co_return opened;
    if (!resumed_ || !resumed_->isWhole()) {
        Result<void> received = co_await receiveRest();
        if (!received || !isToGoOn()) co_return received;
    }
    Result<void> placed = co_await place(partial_->path());
    co_return placed;
}

Task<> DownloadRun::tellFromConflict(Path staged) {
    stage_ = Stage::placement;
    Result<void> way = co_await findLanes();
    if (way && isCurrent()) way = co_await place(staged);
    if (!isCurrent()) {
        removeOnVolume(staged);
        co_return;
    }
    co_await conclude(std::move(way));
}

// --- Before the transfer ---

Task<Result<void>> DownloadRun::findLanes() {
    Result<Path> target = destination(*item_);
    if (!target) co_return failure(target);
    target_ = std::move(*target);
    Result<std::string> lane = co_await around_.lanes.laneOf(target_.parent_path(), stop_.get_token());
    if (!lane) co_return failure(lane);
    targetLane_ = std::move(*lane);
    co_return Result<void>();
}

Task<Result<void>> DownloadRun::openPartial() {
    Result<std::string> lane = co_await around_.lanes.laneOf(around_.partialFolder, {});
    if (!lane) co_return failure(lane);
    ArrivedBytes arrived;
    partialName_ = around_.random.makeUUID();
    if (item_->resumeData) {
        stage_ = Stage::transfer;
        resumed_ = ResumePoint::parse(*item_->resumeData);
        item_->resumeData.reset();
        around_.saves.request(Urgency::soon);
        if (!resumed_) co_return failure(lostToken());
        partialName_ = resumed_->partial;
        arrived = {.length = resumed_->offset, .checksum = resumed_->checksum};
    }
    const PartialFile::Place place{around_.files, around_.volumes, std::move(*lane),
                                   around_.partialFolder / partialName_.text()};
    partial_ = std::make_shared<PartialFile>(place, arrived);
    if (!resumed_) co_return Result<void>();
    link_ = resumed_->link;
    partial_->announce({.length = resumed_->length, .validator = resumed_->validator, .limit = resumed_->length});
    auto open = [partial = partial_]() -> Result<ByteCount> {
        if (Result<void> opened = partial->reopen(); !opened) return failure(opened);
        return 0;
    };
    Result<ByteCount> opened =
        co_await onVolume<ByteCount>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(open));
    if (!opened) co_return failure(opened);
    co_return Result<void>();
}

Task<Result<std::string>> DownloadRun::findLink() {
    Result<std::string> link = co_await around_.service->downloadLink(item_->fileID, stop_.get_token());
    if (link && isCurrent() && around_.isQueuePaused && wish_ == Wish::goOn) wish_ = Wish::pause;
    co_return link;
}

// --- The transfer ---

Task<Result<void>> DownloadRun::receiveRest() {
    if (!resumed_) {
        Result<std::string> link = co_await findLink();
        if (!link) co_return failure(link);
        link_ = std::move(*link);
        if (!isToGoOn()) co_return Result<void>();
    }
    stage_ = Stage::transfer;
    Result<void> received = co_await transfer(link_);
    co_return received;
}

Task<Result<void>> DownloadRun::transfer(std::string link) {
    const ByteCount offset = resumed_ ? resumed_->offset : 0;
    const ExpectedAnswer expected{.offset = offset,
                                  .length = partial_->announced().length,
                                  .validator = resumed_ ? resumed_->validator : std::string(),
                                  .listedSize = item_->fileSize,
                                  .hasListedChecksum = item_->crc32.has_value()};
    TransferRequest request;
    request.url = std::move(link);
    request.first = offset;
    request.validator = expected.hasListedChecksum ? std::string() : expected.validator;
    request.accept = [expected, partial = partial_](const AnswerHead& head) -> Result<void> {
        Result<AnnouncedFile> announced = checkAnswer(expected, head);
        if (!announced) return failure(announced);
        partial->announce(std::move(*announced));
        return {};
    };
    request.receiver = partial_;
    request.onProgress = [this, offset](ByteCount received) { progressed(offset + received); };
    Result<TransferEnd> end = co_await Answer<TransferEnd>(
        around_.loop, stop_.get_token(),
        [this, &request](auto done) { return around_.transfers.fetch(std::move(request), std::move(done)); });
    if (!end) co_return failure(end);
    if (std::optional<Error> refused = partial_->error()) co_return failure(std::move(*refused));
    if (end->error) co_return failure(std::move(*end->error));
    const AnnouncedFile announced = partial_->announced();
    const ByteCount whole = announced.length.value_or(announced.limit);
    if (whole >= 0 && offset + end->received != whole) co_return failure(tooShort());
    co_return Result<void>();
}

void DownloadRun::progressed(ByteCount written) {
    if (!isCurrent()) return;
    const ByteCount expected = partial_->announced().length.value_or(-1);
    const double progress =
        expected > 0 ? static_cast<double>(written) / static_cast<double>(expected) : item_->progress;
    const ByteCount speed = speed_.sample(written, around_.loop.now()).value_or(item_->speed);
    const bool hasChanged = item_->bytesDownloaded != written || item_->progress != progress || item_->speed != speed;
    item_->bytesDownloaded = written;
    item_->progress = progress;
    item_->speed = speed;
    if (hasChanged) around_.list.tellProgress(*item_);
    around_.saves.request(Urgency::eventually);
}

// --- The placement ---

Placement::Request DownloadRun::placementOf(const Path& received) const {
    return {.item = item_->id,
            .bookmark = item_->securityScopeBookmark,
            .received = received,
            .destination = target_,
            .lane = targetLane_};
}

Task<Result<void>> DownloadRun::place(Path received) {
    if (partial_) {
        const bool mustBeRead = item_->crc32.has_value();
        auto finish = [partial = partial_, mustBeRead] {
            return mustBeRead ? partial->readAgain() : partial->finish();
        };
        Result<ArrivedBytes> arrived =
            co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(finish));
        if (!arrived) co_return failure(arrived);
        if (!isToGoOn()) co_return Result<void>();
        if (Result<void> equal = compare(*arrived); !equal && resumed_) co_return equal;  // starts over
        if (isCurrent()) item_->bytesDownloaded = arrived->length;
        item_->arrivedChecksum = arrived->checksum ? std::optional(arrived->checksum->text()) : std::nullopt;
    }
    stage_ = Stage::placement;
    item_->speed = 0;
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

// Whether the bytes are those of put.io's listing.
Result<void> DownloadRun::compare(const ArrivedBytes& arrived) const {
    const auto listed = item_->crc32 ? Checksum::parse(*item_->crc32) : std::nullopt;
    if (!listed || !arrived.checksum || *listed == *arrived.checksum) return {};
    return failure(Error(ErrorCase::transport,
                         "Its checksum is " + arrived.checksum->text() + ", put.io's is " + listed->text() + "."));
}

// What put.io is going to delete is durable before the queue says that it has arrived.
Task<> DownloadRun::secure(Path placed) {
    if (item_->deleteAfterDownload || item_->folderDeleteID)
        co_await around_.placement.secure(std::move(placed), targetLane_);
}

void DownloadRun::settlePlaced(const Path& placed) {
    item_->stagedURL.reset();
    around_.settlement.markCompleted(item_, placed);
}

// Follows the preference, the user's answer for all, or the user's answer to this one.
Task<Result<void>> DownloadRun::resolveConflict(Path received) {
    std::optional<ConflictChoice> choice = effectiveConflictChoice();
    if (!choice) {
        Result<Path> staged = co_await stage(received);
        if (!staged) co_return failure(staged);
        received = *staged;
        if (!isCurrent()) {
            removeOnVolume(received);
            co_return Result<void>();
        }
        choice = co_await askUser(received);
        if (!choice || !isCurrent()) {
            removeOnVolume(received);
            if (isCurrent()) item_->stagedURL.reset();
            around_.saves.request(Urgency::soon);
            co_return Result<void>();
        }
    }
    Result<Path> placed = co_await around_.placement.apply(placementOf(received), *choice, stop_.get_token());
    if (placed && !placed->empty() && isCurrent()) co_await secure(*placed);
    if (!isCurrent()) {
        // What was replaced is gone: then the new file is better than none.
        if (!placed || *choice == ConflictChoice::keepBoth) removeOnVolume(placed ? *placed : received);
        co_return Result<void>();
    }
    if (!placed) co_return failure(placed);
    item_->stagedURL.reset();
    if (placed->empty())
        around_.settlement.markSkipped(item_);
    else
        settlePlaced(*placed);
    co_return Result<void>();
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

// The file waits for the user in the staging folder, perhaps for days: its bytes are to survive until then.
Task<Result<std::filesystem::path>> DownloadRun::stage(Path received) {
    if (received.parent_path() == around_.stagingFolder) co_return received;
    const Path staged = around_.stagingFolder / around_.random.makeUUID().text();
    auto move = [&files = around_.files, received, staged]() -> Result<Path> {
        if (Result<void> made = files.createDirectories(staged.parent_path()); !made) return failure(made);
        if (Result<void> moved = files.moveItem(received, staged, {}); !moved) return failure(moved);
        if (Result<void> durable = files.makeDurable(staged); !durable) return failure(durable);
        return staged;
    };
    Result<Path> moved = co_await onVolume<Path>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(move));
    co_return moved;
}

Task<ConflictResolution> DownloadRun::askUser(Path received) {
    item_->stagedURL = received.native();
    item_->speed = 0;
    around_.list.take(*item_, StatusStep::ask);
    if (!isCurrent()) co_return std::nullopt;
    around_.saves.request(Urgency::soon);
    if (const ConflictResolution remembered = around_.conflicts.rememberedChoice(*item_)) co_return remembered;
    isWaitingForUser_ = true;
    around_.runWaits();
    Result<ConflictResolution> answer =
        co_await Answer<ConflictResolution>(around_.loop, {}, [this, &received](auto done) {
            around_.conflicts.presentOrQueueConflict(
                {around_.random.makeUUID(), item_, target_, received,
                 [done = std::move(done)](ConflictResolution given) mutable { done(given); }});
            return Subscription();
        });
    isWaitingForUser_ = false;
    co_return *answer;
}

// --- How it ends ---

Task<> DownloadRun::conclude(Result<void> way) {
    if (!isCurrent()) {
        discardPartial();
    } else if (wish_ != Wish::goOn && stage_ != Stage::placement) {
        co_await keepArrived();
    } else if (way) {
        co_return;
    } else if (stage_ == Stage::lookUp) {
        item_->error = way.error().description;
        around_.list.take(*item_, StatusStep::fail);
    } else if (stage_ == Stage::transfer) {
        co_await failTransfer(std::move(way.error()));
    } else {
        item_->stagedURL.reset();
        around_.settlement.markFailed(item_, way.error().description);
        discardPartial();
    }
}

// What has arrived reaches the disk before its token counts, unless that takes too long: then the token comes first.
Task<> DownloadRun::keepArrived() {
    constexpr std::chrono::seconds patience{1};
    std::optional<ByteBlob> token;
    if (partial_) {
        partial_->close();
        std::stop_source tooLong;
        const Subscription timer = around_.loop.schedule(patience, [tooLong]() mutable { tooLong.request_stop(); });
        auto keep = [partial = partial_] { return partial->synchronize(); };
        Result<ArrivedBytes> arrived = co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(),
                                                                       tooLong.get_token(), std::move(keep));
        token = tokenFor(arrived ? *arrived : partial_->written());
        if (!token || !isCurrent()) discardPartial();
    }
    if (!isCurrent()) co_return;
    if (partial_) item_->resumeData = std::move(token);
    item_->speed = 0;
    if (wish_ == Wish::pause) around_.list.take(*item_, StatusStep::pause);
    if (wish_ == Wish::goOnLater) around_.list.take(*item_, StatusStep::yieldSlot);
    around_.saves.request(Urgency::soon);
}

// How to go on from what has arrived; none when the server offers no way, has refused one, or nothing has arrived.
std::optional<ByteBlob> DownloadRun::tokenFor(const ArrivedBytes& arrived) const {
    const AnnouncedFile announced = partial_->announced();
    if (announced.validator.empty() || !announced.length) return std::nullopt;
    if (arrived.length < 1 || arrived.length > *announced.length) return std::nullopt;
    return ResumePoint{.link = link_,
                       .validator = announced.validator,
                       .length = *announced.length,
                       .offset = arrived.length,
                       .partial = partialName_,
                       .checksum = arrived.checksum}
        .encoded();
}

Task<> DownloadRun::failTransfer(Error error) {
    if (resumed_ || !partial_) {
        startOver(error);
        co_return;
    }
    partial_->close();
    auto keep = [partial = partial_] { return partial->synchronize(); };
    Result<ArrivedBytes> arrived =
        co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(keep));
    const std::optional<ByteBlob> token = arrived ? tokenFor(*arrived) : std::nullopt;
    if (!token || !isCurrent()) discardPartial();
    if (!isCurrent()) co_return;
    item_->resumeData = token;
    around_.settlement.markFailed(item_, error.description);
    around_.saves.request(Urgency::soon);
}

void DownloadRun::startOver(const Error& error) {
    around_.log.line("[DownloadManager] Resume failed for " + item_->fileName + ", restarting: " + error.description);
    discardPartial();
    item_->resumeData.reset();
    item_->progress = 0;
    item_->bytesDownloaded = 0;
    item_->speed = 0;
    around_.list.take(*item_, StatusStep::startOver);
    around_.saves.request(Urgency::soon);
}

void DownloadRun::removeOnVolume(Path file) {
    around_.volumes.run(targetLane_,
                        [&files = around_.files, file = std::move(file)] { (void)files.removeItem(file); });
}

void DownloadRun::discardPartial() {
    if (!partial_) return;
    partial_->close();
    around_.volumes.run(partial_->lane(), [partial = partial_] { partial->remove(); });
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
