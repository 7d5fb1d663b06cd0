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

Reception::~Reception() {
    if (partial_) around_.receiving.removeIfEmpty(place_);
}

// --- Where it begins ---

Task<Result<void>> Reception::open(std::filesystem::path destination, std::string lane, std::stop_token stop) {
    if (item_->resumeData) {
        std::optional<ResumePoint> point = ResumePoint::parse(*item_->resumeData);
        if (!point) {
            dropToken();
            co_return failure(lostToken());
        }
        Result<void> opened = co_await goOnFrom(std::move(*point), std::move(stop));
        co_return opened;
    }
    const bool isFound = co_await findWhole(stop);
    if (isFound) co_return Result<void>();
    Result<ReceivingFolders::Place> place = co_await around_.receiving.choose(std::move(destination), lane, stop);
    if (!place) co_return failure(place);
    receiveIn(std::move(*place), around_.random.makeUUID(), {});
    co_return Result<void>();
}

// Takes the item's token once nothing is left that may take long.
Task<Result<void>> Reception::goOnFrom(ResumePoint point, std::stop_token stop) {
    Result<ReceivingFolders::Place> place = co_await around_.receiving.find(point.folder, stop);
    if (stop.stop_requested()) co_return failure(Error::cancelled());
    if (!place) {
        dropToken();
        co_return failure(place);
    }
    receiveIn(std::move(*place), point.partial, {.length = point.offset, .checksum = point.checksum});
    link_ = point.link;
    partial_->announce({.length = point.length, .validator = point.validator, .limit = point.length});
    resumed_ = std::move(point);
    auto open = [partial = partial_]() -> Result<ByteCount> {
        if (Result<void> opened = partial->reopen(); !opened) return failure(opened);
        return 0;
    };
    Result<ByteCount> opened =
        co_await onVolume<ByteCount>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(open));
    if (!stop.stop_requested()) dropToken();
    if (!opened) co_return failure(opened);
    co_return Result<void>();
}

void Reception::dropToken() {
    item_->resumeData.reset();
    around_.saves.request(Urgency::gathered);
}

// A file that arrived whole and is not there any more is fetched again.
Task<bool> Reception::findWhole(std::stop_token stop) {
    if (!item_->receivedFile && !around_.kept.takeOver(*item_)) co_return false;
    std::optional<ResumePoint> point = ResumePoint::parse(*item_->receivedFile);
    const std::string damaged = "its token cannot be read";
    Result<void> opened = failure(Error(ErrorCase::file, damaged));
    if (point && point->isWhole()) opened = co_await goOnFrom(std::move(*point), stop);
    if (opened || stop.stop_requested()) co_return true;
    around_.log.line("[DownloadManager] What had arrived of " + item_->fileName +
                     " is fetched again: " + opened.error().description);
    item_->receivedFile.reset();
    resumed_.reset();
    partial_.reset();
    co_return false;
}

void Reception::receiveIn(ReceivingFolders::Place place, const UUID& name, ArrivedBytes arrived) {
    name_ = name;
    place_ = std::move(place);
    partial_ = std::make_shared<PartialFile>(
        PartialFile::Place{around_.files, around_.volumes, place_.lane, place_.folder / name_.text()}, arrived);
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
    const BytesPerSecond speed = speed_.sample(written, around_.loop.now()).value_or(item_->speed);
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
    // A loss of power may still take these bytes: only reading them again tells whether they are what arrived.
    const bool canTell = listedChecksum(*item_) || !isDeletedLater(*item_);
    if (!limit || !canTell) co_return std::nullopt;
    ArrivedBytes written = partial_->written();
    written.checksum.reset();
    co_return tokenFor(written);
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
                       .checksum = arrived.checksum,
                       .folder = around_.receiving.tokenOf(place_.folder)}
        .encoded();
}

std::optional<ByteBlob> Reception::tokenOfWhole(ByteCount length, std::optional<Checksum> checksum) const {
    if (length < 1) return std::nullopt;
    ResumePoint point = ResumePoint::ofWhole(name_, length);
    point.checksum = checksum;
    point.folder = around_.receiving.tokenOf(place_.folder);
    return point.encoded();
}

std::optional<ByteBlob> Reception::tokenOfWhole() const {
    return tokenOfWhole(partial_->written().length, std::nullopt);
}

Task<std::optional<ByteBlob>> Reception::keepWhole() {
    if (!partial_) co_return std::nullopt;
    auto makeDurable = [partial = partial_, &files = around_.files]() -> Result<ArrivedBytes> {
        Result<ArrivedBytes> arrived = partial->finish();
        if (!arrived) return arrived;
        if (Result<void> durable = files.makeDurable(partial->path()); !durable) return failure(durable);
        if (files.fileSize(partial->path()) != arrived->length) return failure(lostToken());
        return arrived;
    };
    Result<ArrivedBytes> arrived =
        co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(makeDurable));
    co_return arrived ? tokenOfWhole(arrived->length, arrived->checksum) : std::nullopt;
}

void Reception::discard() {
    if (!partial_) return;
    partial_->close();
    around_.volumes.run(partial_->lane(), [partial = partial_] { partial->remove(); });
}

}  // namespace tovri
