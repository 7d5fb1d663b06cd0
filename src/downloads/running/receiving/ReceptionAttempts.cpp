// How a reception's bytes come: the attempts, and what follows on each.
#include <utility>

#include "downloads/retrying/RetryingDownloadService.h"
#include "downloads/running/ArrivalProof.h"
#include "downloads/running/receiving/Reception.h"
#include "downloads/running/receiving/StarvationWatch.h"
#include "platform/Await.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

Task<Result<void>> Reception::receive(std::string link, std::stop_token stop) {
    link_ = std::move(link);
    beginSides(stop);
    Result<void> received = co_await receiveAll(std::move(stop));
    endSides();
    co_return received;
}

// The first connection brings one share of the file after the other, and those beside it theirs.
Task<Result<void>> Reception::receiveAll(std::stop_token stop) {
    while (!partial_->isWhole()) {
        const std::optional<RangePlan::Share> share = partial_->share();
        if (!share) {
            Result<void> ended = co_await sides_->oneEnds(stop);
            if (!ended) co_return ended;
            continue;
        }
        auto receiver = std::make_shared<PartReceiver>(partial_, *share);
        Result<HostBrake::Pass> pass = co_await tries_.begin(hostOf(link_), stop);
        if (!pass) co_return failure(pass);
        AttemptEnd end = co_await attempt(std::move(*pass), receiver, stop);
        receiver->giveBack();
        sides_->firstPauses();
        if (!end.error) continue;
        if (stop.stop_requested() || end.next == Next::nothing) co_return failure(std::move(*end.error));
        if (end.next == Next::newLink) {
            Result<void> asked = co_await askForLink(std::move(*end.error), stop);
            if (!asked) co_return asked;
            sides_->follow(link_, listedChecksum(*item_).has_value());
        }
        if (end.next == Next::firstByte) item_->noteFailedTry(around_.clock.now(), end.error->description);
        if (end.next == Next::firstByte || !canGoOn()) {
            beginAnew();
            beginSides(stop);
        }
    }
    co_return Result<void>();
}

// Where parts of this file did not fit together before, they come one behind the other.
void Reception::beginSides(std::stop_token stop) {
    const SideConnections::Ports ports{around_.loop, around_.volumes, around_.transfers, around_.brakes,
                                       around_.connections};
    const int most = item_->hasStartedOver ? 0 : ConnectionBudget::perHost - 1;
    sides_ = std::make_unique<SideConnections>(ports, partial_, most, [this, stop = std::move(stop)] {
        if (!stop.stop_requested()) progressed();
    });
    sides_->follow(link_, listedChecksum(*item_).has_value());
}

void Reception::endSides() {
    isJoined_ = isJoined_ || sides_->haveHelped();
    item_->roomKept = 0;
    sides_.reset();
}

// The same content under a link that is good now.
Task<Result<void>> Reception::askForLink(Error refusal, std::stop_token stop) {
    if (!tries_.mayAskForLink()) co_return failure(std::move(refusal));
    item_->noteFailedTry(around_.clock.now(), refusal.description);
    RetryingDownloadService service(*around_.service, tries_);
    Result<std::string> link = co_await service.downloadLink(item_->fileID, std::move(stop));
    if (!link) co_return failure(link);
    link_ = std::move(*link);
    co_return Result<void>();
}

// --- One attempt ---

ExpectedAnswer Reception::expectedAnswer(const ByteRange& range) const {
    const AnnouncedFile announced = partial_->announced();
    const bool isToTheEnd = range.end == announced.limit || range.end == RangePlan::unknownEnd;
    return {.offset = range.first,
            .end = isToTheEnd ? std::nullopt : std::optional(range.end),
            .length = announced.length,
            .validator = range.first > 0 || !isToTheEnd ? announced.validator : std::string(),
            .listedSize = item_->expectedSize(),
            .hasListedChecksum = listedChecksum(*item_).has_value()};
}

TransferRequest Reception::request(const ExpectedAnswer& expected) const {
    TransferRequest request;
    request.url = link_;
    request.first = expected.offset;
    if (expected.end) request.last = *expected.end - 1;
    request.validator = expected.hasListedChecksum ? std::string() : expected.validator;
    request.accept = [expected, partial = partial_](const AnswerHead& head) -> Result<void> {
        Result<AnnouncedFile> announced = checkAnswer(expected, head);
        if (!announced && isRefusal(expected, head)) partial->noteRefusal();
        if (!announced) return failure(announced);
        partial->announce(std::move(*announced));
        return {};
    };
    return request;
}

Task<Reception::AttemptEnd> Reception::attempt(HostBrake::Pass pass, std::shared_ptr<PartReceiver> receiver,
                                               std::stop_token stop) {
    const ExpectedAnswer expected = expectedAnswer(receiver->range());
    TransferRequest request = this->request(expected);
    request.receiver = receiver;
    request.onProgress = [this, &pass, stop](ByteCount received) {
        pass.succeeded();
        if (stop.stop_requested()) return;
        if (received > 0) sides_->firstBrings();
        progressed();
    };
    std::stop_source given;  // up, for either reason
    std::stop_callback stopped(stop, [given]() mutable { given.request_stop(); });
    bool isStarved = false;
    const StarvationWatch watch(
        around_.loop, [this] { return partial_->taken(); },
        [&] {
            const bool isHeldBackHere = partial_->waitsForVolume() || around_.transfers.isLimited();
            isStarved = !isHeldBackHere && around_.list.nextCandidate();
            if (isStarved) given.request_stop();
        });
    isTrying_ = true;
    Result<TransferEnd> end = co_await Answer<TransferEnd>(
        around_.loop, given.get_token(),
        [this, &request](auto done) { return around_.transfers.fetch(std::move(request), std::move(done)); });
    isTrying_ = false;
    if (end) co_return judge(expected, std::move(*end), std::move(pass), *receiver);
    if (isStarved && !stop.stop_requested()) tries_.isStarved();
    co_return AttemptEnd{.error = std::move(end.error())};
}

// --- What follows ---

Reception::AttemptEnd Reception::judge(const ExpectedAnswer& expected, TransferEnd end, HostBrake::Pass pass,
                                       const PartReceiver& receiver) {
    if (end.received > 0) progressed();
    if (end.received > 0 && expected.offset > 0) isJoined_ = true;
    std::optional<Error> error = errorOf(receiver, end);
    if (!error) {
        pass.succeeded();
        return {};
    }
    if (tries_.mayTryAgain(std::move(pass), *error)) return {Next::sameByte, std::move(error)};
    if (tries_.isUsedUp() || partial_->error()) return {Next::nothing, std::move(error)};
    if (isExpiredLink(*error)) return {Next::newLink, std::move(error)};
    const bool isOfRange = end.head && (end.head->status == 416 || !checkAnswer(expected, *end.head));
    if (isOfRange && (expected.offset > 0 || expected.end) && !isResumed()) {
        refusesRanges_ = true;
        return {Next::firstByte, std::move(error)};
    }
    return {Next::nothing, std::move(error)};
}

// That a connection breaks after the last byte that it was to bring, or ends there because others bring the rest, is
// nobody's concern; that the server said something else than it sent is.
std::optional<Error> Reception::errorOf(const PartReceiver& receiver, TransferEnd& end) const {
    if (std::optional<Error> refused = partial_->error()) return refused;
    const bool isContradiction =
        end.error && end.error->code == ErrorCase::transport && end.error->transportFault == TransportFault::none;
    if (receiver.isDone() && !isContradiction && (end.received > 0 || !end.error)) return std::nullopt;
    if (end.error) return std::move(end.error);
    AnnouncedFile announced = partial_->announced();
    if (announced.limit < 0) {  // the end of the answer was the end of the file
        announced.limit = partial_->taken();
        partial_->announce(std::move(announced));
        return std::nullopt;
    }
    const TransportFault fault = announced.length ? TransportFault::brokenOff : TransportFault::none;
    return Error(fault, "The server sent fewer bytes than it announced; retry.");
}

// From the bytes that are there. What holds two attempts together is a validator, or the checksum of the whole.
bool Reception::canGoOn() const {
    const AnnouncedFile announced = partial_->announced();
    if (partial_->taken() == 0) return true;
    if (refusesRanges_ || !announced.length) return false;
    return !announced.validator.empty() || listedChecksum(*item_);
}

void Reception::progressed() {
    if (sides_) sides_->look();
    if (sides_ && sides_->hasRoom()) item_->roomKept = item_->expectedSize();
    const ByteCount written = partial_->taken();
    const ByteCount expected = partial_->announced().length.value_or(-1);
    const double progress =
        expected > 0 ? static_cast<double>(written) / static_cast<double>(expected) : item_->progress;
    const BytesPerSecond speed = speed_.sample(written, around_.loop.now()).value_or(item_->speed);
    const bool hasChanged = item_->bytesDownloaded != written || item_->progress != progress || item_->speed != speed;
    item_->bytesDownloaded = written;
    item_->progress = progress;
    item_->speed = speed;
    if (written > furthest_) {
        furthest_ = written;
        around_.lastGain = around_.loop.now();
        tries_.gains();
    }
    if (hasChanged) around_.list.tellProgress(*item_);
    around_.saves.request(Urgency::eventually);
}

}  // namespace tovri
