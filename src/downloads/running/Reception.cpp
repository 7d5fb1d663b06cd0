#include "downloads/running/Reception.h"

#include "downloads/running/ArrivalProof.h"
#include "platform/Await.h"

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

Reception::Reception(RunSurroundings& around, DownloadPointer item)
    : around_(around), item_(std::move(item)), speed_(around.loop.now()) {}

std::optional<std::string> Reception::link() const {
    return resumed_ ? std::optional(resumed_->link) : std::nullopt;
}

Task<Result<void>> Reception::open() {
    Result<std::string> lane = co_await around_.lanes.laneOf(around_.partialFolder, {});
    if (!lane) co_return failure(lane);
    ArrivedBytes arrived;
    name_ = around_.random.makeUUID();
    if (item_->resumeData) {
        resumed_ = ResumePoint::parse(*item_->resumeData);
        item_->resumeData.reset();
        around_.saves.request(Urgency::gathered);
        if (!resumed_) co_return failure(lostToken());
        name_ = resumed_->partial;
        arrived = {.length = resumed_->offset, .checksum = resumed_->checksum};
    }
    const PartialFile::Place place{around_.files, around_.volumes, std::move(*lane),
                                   around_.partialFolder / name_.text()};
    partial_ = std::make_shared<PartialFile>(place, arrived);
    if (!resumed_) co_return Result<void>();
    Result<void> reopened = co_await reopen();
    co_return reopened;
}

Task<Result<void>> Reception::reopen() {
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

// --- The transfer ---

ExpectedAnswer Reception::expectedAnswer() const {
    return {.offset = resumed_ ? resumed_->offset : 0,
            .length = partial_->announced().length,
            .validator = resumed_ ? resumed_->validator : std::string(),
            .listedSize = item_->expectedSize(),
            .hasListedChecksum = listedChecksum(*item_).has_value()};
}

Task<Result<void>> Reception::receive(std::string link, std::stop_token stop) {
    link_ = std::move(link);
    const ExpectedAnswer expected = expectedAnswer();
    const ByteCount offset = expected.offset;
    TransferRequest request;
    request.url = link_;
    request.first = offset;
    request.validator = expected.hasListedChecksum ? std::string() : expected.validator;
    request.accept = [expected, partial = partial_](const AnswerHead& head) -> Result<void> {
        Result<AnnouncedFile> announced = checkAnswer(expected, head);
        if (!announced) return failure(announced);
        partial->announce(std::move(*announced));
        return {};
    };
    request.receiver = partial_;
    request.onProgress = [this, offset, stop](ByteCount received) {
        if (!stop.stop_requested()) progressed(offset + received);
    };
    Result<TransferEnd> end = co_await Answer<TransferEnd>(around_.loop, stop, [this, &request](auto done) {
        return around_.transfers.fetch(std::move(request), std::move(done));
    });
    if (!end) co_return failure(end);
    if (std::optional<Error> refused = partial_->error()) co_return failure(std::move(*refused));
    if (end->error) co_return failure(std::move(*end->error));
    const AnnouncedFile announced = partial_->announced();
    const ByteCount whole = announced.length.value_or(announced.limit);
    if (whole >= 0 && offset + end->received != whole) co_return failure(tooShort());
    co_return Result<void>();
}

void Reception::progressed(ByteCount written) {
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

// --- How it ends ---

Task<Result<ArrivedBytes>> Reception::finish(bool mustKnowChecksum) {
    auto finish = [partial = partial_, mustKnowChecksum] {
        return mustKnowChecksum ? partial->readAgain() : partial->finish();
    };
    Result<ArrivedBytes> arrived =
        co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(finish));
    co_return arrived;
}

Task<std::optional<ByteBlob>> Reception::keep(std::optional<std::chrono::milliseconds> limit) {
    if (!partial_) co_return std::nullopt;
    partial_->close();
    std::stop_source tooLong;
    Subscription timer;
    if (limit) timer = around_.loop.schedule(*limit, [tooLong]() mutable { tooLong.request_stop(); });
    auto synchronize = [partial = partial_] { return partial->synchronize(); };
    Result<ArrivedBytes> arrived = co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(),
                                                                   tooLong.get_token(), std::move(synchronize));
    if (arrived) co_return tokenFor(*arrived);
    co_return limit ? tokenFor(partial_->written()) : std::nullopt;
}

// How to go on from what has arrived; none when the server offers no way, has refused one, or nothing has arrived.
std::optional<ByteBlob> Reception::tokenFor(const ArrivedBytes& arrived) const {
    const AnnouncedFile announced = partial_->announced();
    if (announced.validator.empty() || !announced.length) return std::nullopt;
    if (arrived.length < 1 || arrived.length > *announced.length) return std::nullopt;
    return ResumePoint{.link = link_,
                       .validator = announced.validator,
                       .length = *announced.length,
                       .offset = arrived.length,
                       .partial = name_,
                       .checksum = arrived.checksum}
        .encoded();
}

void Reception::discard() {
    if (!partial_) return;
    partial_->close();
    around_.volumes.run(partial_->lane(), [partial = partial_] { partial->remove(); });
}

}  // namespace tovri
