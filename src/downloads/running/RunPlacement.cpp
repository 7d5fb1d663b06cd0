#include "downloads/running/RunPlacement.h"

#include "downloads/running/ArrivalProof.h"
#include "platform/Await.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

RunPlacement::RunPlacement(RunSurroundings& around, DownloadPointer item, const DownloadRun& run, Reception& reception)
    : around_(around), item_(std::move(item)), run_(run), reception_(reception), staging_(around) {}

Placement::Request RunPlacement::request() const {
    return {.run = &run_,
            .item = item_->id,
            .bookmark = item_->securityScopeBookmark,
            .received = received_,
            .destination = target_.path,
            .lane = target_.lane,
            .isDeletedLater = isDeletedLater(*item_),
            .volume = target_.facts ? std::optional(target_.facts->volume.number) : std::nullopt,
            .arrival = {.size = item_->bytesDownloaded,
                        .checksum = item_->arrivedChecksum ? Checksum::parse(*item_->arrivedChecksum) : std::nullopt,
                        .listedSize = item_->listedSize,
                        .listedChecksum = listedChecksum(*item_)}};
}

Task<Result<void>> RunPlacement::place(RunTarget target, Path received, std::stop_token stop) {
    target_ = std::move(target);
    received_ = std::move(received);
    if (std::exchange(item_->speed, {}) != BytesPerSecond()) around_.list.tellProgress(*item_);
    Result<Path> placed = co_await giveName(stop);
    const bool isTaken = !placed && placed.error().code == ErrorCase::alreadyExists;
    if (placed && isCurrent()) co_await secure(*placed);
    if (!isCurrent()) {
        if (!placed) co_return failure(placed);
        if (!hasReplaced(*placed)) remove(*placed);
        co_return Result<void>();
    }
    if (isTaken) {
        Result<void> resolved = co_await resolveConflict(std::move(stop));
        co_return resolved;
    }
    if (!placed) co_return failure(placed);
    settle(*placed);
    co_return Result<void>();
}

// What the item itself had brought before, and differed, makes way; unless somebody has changed it, or it has gone.
Task<Result<std::filesystem::path>> RunPlacement::giveName(std::stop_token stop) {
    if (const auto copy = item_->formerCopy; copy && Path(copy->path).parent_path() == target_.path.parent_path()) {
        Placement::Request wanted = request();
        wanted.destination = copy->path;
        wanted.consent = ReplaceConsent::user;
        Result<Path> placed = co_await around_.placement.takePlaceOf(*copy, std::move(wanted), stop);
        if (placed || placed.error().code != ErrorCase::alreadyExists) co_return placed;
    }
    Result<Path> placed = co_await around_.placement.place(request(), std::move(stop));
    co_return placed;
}

// What put.io is going to delete is durable before the queue says that it has arrived; or nothing is deleted.
Task<> RunPlacement::secure(Path placed) {
    if (!isDeletedLater(*item_)) co_return;
    std::optional<FileStamp> stamp = co_await around_.placement.stamp(placed, target_.lane);
    Result<void> durable = co_await around_.durability.secure(std::move(placed), target_.lane);
    if (!isCurrent()) co_return;
    item_->durable = durable.has_value();
    const PartialFile* received = reception_.partial();
    const bool isThatFile = stamp && received && received->begun() == stamp->identity;
    item_->placedAs = isThatFile ? stamp : std::nullopt;
}

void RunPlacement::settle(const Path& placed) {
    item_->formerCopy.reset();
    item_->stagedURL.reset();
    item_->receivedFile.reset();
    if (target_.facts) around_.destinations.notePlaced(target_.path.parent_path(), *target_.facts);
    around_.settlement.markCompleted(item_, placed);
}

// --- A name that is taken ---

Task<Result<void>> RunPlacement::resolveConflict(std::stop_token stop) {
    Result<Decision> decision = co_await decide();
    if (!decision) co_return failure(decision);
    if (!isCurrent() || !decision->choice) co_return Result<void>();
    Placement::Request wanted = request();
    wanted.consent = decision->consent;
    Result<Path> placed = co_await around_.placement.apply(std::move(wanted), *decision->choice, std::move(stop));
    const bool isSkipped = placed && placed->empty();
    if (placed && !isSkipped && isCurrent()) co_await secure(*placed);
    if (!isCurrent()) {
        // What was replaced is gone: then the new file is better than none.
        if (!placed || (!isSkipped && *placed != target_.path)) remove(placed ? *placed : received_);
        co_return Result<void>();
    }
    if (!placed) co_return failure(placed);
    if (isSkipped) {
        item_->stagedURL.reset();
        item_->receivedFile.reset();
        around_.settlement.markSkipped(item_);
    } else {
        settle(*placed);
    }
    if (wasUserAsked_) around_.saves.request(Urgency::soon);
    co_return Result<void>();
}

// By the preference, the user's answer for all, or the user's answer to this one.
Task<Result<RunPlacement::Decision>> RunPlacement::decide() {
    if (const auto choice = choiceByPreference()) co_return Decision{.choice = choice};
    const bool isOnlyCopy = co_await around_.placement.isOnlyCopy(target_.path, target_.lane);
    if (!isCurrent()) co_return Decision{};
    const ReplaceConsent consent = isOnlyCopy ? ReplaceConsent::informed : ReplaceConsent::user;
    if (const auto choice = around_.conflicts.rememberedChoice(conflict(isOnlyCopy)))
        co_return Decision{.choice = choice, .consent = consent};
    Result<Decision> answer = co_await askUser(isOnlyCopy);
    if (answer) answer->consent = consent;
    co_return answer;
}

// The file waits in the staging folder meanwhile, and goes when its question is withdrawn.
Task<Result<RunPlacement::Decision>> RunPlacement::askUser(bool isOnlyCopy) {
    Result<Path> staged = co_await staging_.stage(received_, reception_.lane());
    if (!staged) co_return failure(cannotBeStaged(staged.error()));
    received_ = *staged;
    if (!isCurrent()) {
        remove(received_);
        co_return Decision{};
    }
    item_->receivedFile.reset();
    ConflictResolution choice = co_await answerOfUser(isOnlyCopy);
    if (choice && isCurrent()) co_return Decision{.choice = choice};
    removeReceived();
    if (isCurrent()) item_->stagedURL.reset();
    around_.saves.request(Urgency::soon);
    co_return Decision{};
}

Task<ConflictResolution> RunPlacement::answerOfUser(bool isOnlyCopy) {
    item_->stagedURL = received_.native();
    item_->speed = {};
    around_.list.take(*item_, StatusStep::ask);
    if (!isCurrent()) co_return std::nullopt;
    FileConflict asked = conflict(isOnlyCopy);
    const ConflictResolution remembered = around_.conflicts.rememberedChoice(asked);
    around_.saves.request(remembered ? Urgency::gathered : Urgency::soon);
    if (remembered) co_return remembered;
    isWaitingForUser_ = true;
    wasUserAsked_ = true;
    around_.runWaits();
    Result<ConflictResolution> answer =
        co_await Answer<ConflictResolution>(around_.loop, {}, [this, &asked](auto done) {
            asked.continuation = [done = std::move(done)](ConflictResolution given) mutable { done(given); };
            around_.conflicts.presentOrQueueConflict(std::move(asked));
            return Subscription();
        });
    isWaitingForUser_ = false;
    co_return *answer;
}

// No case that says something of the destination: this disk is another.
Error RunPlacement::cannotBeStaged(const Error& reason) const {
    return {ErrorCase::file, "\"" + item_->fileName + "\" cannot be set aside until you decide: " + reason.description};
}

std::optional<ConflictChoice> RunPlacement::choiceByPreference() const {
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

FileConflict RunPlacement::conflict(bool isOnlyCopy) const {
    return {.id = around_.random.makeUUID(),
            .download = item_,
            .existingURL = target_.path,
            .tempURL = received_,
            .isOnlyCopy = isOnlyCopy,
            .continuation = {}};
}

// --- What has no place ---

Task<> RunPlacement::keepWhole() {
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
        if (!staging_.holds(received_)) remove(received_);
    }
    if (!isCurrent()) co_return;
    item_->receivedFile = token ? std::make_shared<const ByteBlob>(std::move(*token)) : nullptr;
    if (item_->receivedFile) around_.kept.note(item_);
}

void RunPlacement::remove(Path file) {
    around_.volumes.run(target_.lane,
                        [&files = around_.files, file = std::move(file)] { (void)files.removeFile(file); });
}

}  // namespace tovri
