#include "downloads/running/Reception.h"

#include "downloads/running/ArrivalProof.h"
#include "platform/Await.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

namespace {

Error lostToken() {
    return {ErrorCase::transport, "The transfer cannot go on from what was saved; the download starts over."};
}

}  // namespace

Reception::Reception(RunSurroundings& around, DownloadPointer item, Tries& tries)
    : around_(around), item_(std::move(item)), tries_(tries), speed_(around.loop.now()) {}

std::optional<std::string> Reception::link() const {
    return isResumed() ? std::optional(resumed_->link) : std::nullopt;
}

Reception::~Reception() {
    if (!partial_) return;
    if (partial_->hasNote())
        around_.volumes.run(partial_->lane(), [partial = partial_] { partial->removeNoteIfGone(); });
    around_.receiving.removeIfEmpty(place_);
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
    chosen_ = std::move(*place);
    Result<void> begun = co_await adoptOrBegin(std::move(stop));
    co_return begun;
}

// Takes the item's token once nothing is left that may take long.
Task<Result<void>> Reception::goOnFrom(ResumePoint point, std::stop_token stop) {
    Result<ReceivingFolders::Place> place = co_await around_.receiving.find(point.folder, stop);
    if (stop.stop_requested()) co_return failure(Error::cancelled());
    if (!place) {
        dropToken();
        co_return failure(place);
    }
    const NotedReach durable{.end = point.offset, .checksum = point.checksum};
    if (!point.isWhole()) {
        Result<ResumePoint> further = co_await withNote(point, *place);
        if (further) point = std::move(*further);
    }
    goOnIn(std::move(*place), std::move(point), durable);
    Result<void> opened = co_await reopen();
    if (!stop.stop_requested()) dropToken();
    co_return opened;
}

// What came after the token, where the process that went on from it was killed.
Task<Result<ResumePoint>> Reception::withNote(ResumePoint point, ReceivingFolders::Place place) {
    const NotedFile file{.fileID = item_->fileID,
                         .length = point.length,
                         .validator = point.validator,
                         .checksum = listedChecksum(*item_)};
    auto read = [&files = around_.files, path = place.folder / point.partial.text(), bootID = around_.bootID, file,
                 point]() -> Result<ResumePoint> {
        const auto dated = NoteFile::read(files, path);
        const auto note = dated ? dated->counting(bootID) : std::nullopt;
        ResumePoint further = point;
        if (!note || !file.isSame(note->file)) return further;
        const NotedReach reach = note->beginning();
        if (reach.end <= point.offset || reach.end > files.fileSize(path).value_or(0)) return further;
        further.validator = note->file.validator;
        further.offset = reach.end;
        further.checksum = reach.checksum;
        return further;
    };
    Result<ResumePoint> further =
        co_await onVolume<ResumePoint>(around_.loop, around_.volumes, place.lane, {}, std::move(read));
    co_return further;
}

// Opens the partial file where its bytes end.
Task<Result<void>> Reception::reopen() {
    auto open = [partial = partial_]() -> Result<ByteCount> {
        if (Result<void> opened = partial->reopen(); !opened) return failure(opened);
        return 0;
    };
    Result<ByteCount> opened =
        co_await onVolume<ByteCount>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(open));
    if (opened) co_return Result<void>();
    spoil();
    co_return failure(opened);
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
    forget();
    co_return false;
}

// Goes on from what an earlier transfer has left of the file, if that is there, or begins with its first byte.
Task<Result<void>> Reception::adoptOrBegin(std::stop_token stop) {
    Result<void> known = co_await around_.leftovers.known(chosen_.folder, stop);
    if (!known) co_return known;
    while (std::optional<Leftover> left = around_.leftovers.take(*item_)) {
        Result<void> adopted = co_await adopt(std::move(*left), stop);
        if (adopted && place_.folder != chosen_.folder) around_.receiving.removeIfEmpty(chosen_);
        if (adopted || stop.stop_requested()) co_return adopted;
        around_.log.line("[DownloadManager] What was left of " + item_->fileName +
                         " is fetched again: " + adopted.error().description);
        discard();
        forget();
    }
    receiveIn(chosen_, {.partial = around_.random.makeUUID(), .file = {}, .parts = {}});
    co_return Result<void>();
}

Task<Result<void>> Reception::adopt(Leftover left, std::stop_token stop) {
    Result<ReceivingFolders::Place> place = co_await around_.receiving.find(left.folder, stop);
    if (stop.stop_requested()) around_.leftovers.put(std::move(left));
    if (!place || stop.stop_requested()) co_return place ? failure(Error::cancelled()) : failure(place);
    const NotedFile file = left.note.file;
    const NotedReach reach = left.note.beginning();
    const ResumePoint point{.link = "",
                            .validator = file.validator,
                            .length = file.length,
                            .offset = reach.end,
                            .partial = left.note.partial,
                            .checksum = reach.checksum,
                            .folder = left.folder};
    Result<ResumePoint> further = co_await withNote(point, *place);
    isAdopted_ = true;
    goOnIn(std::move(*place), std::move(*further), {});
    partial_->putOnTrial();
    Result<void> opened = co_await reopen();
    if (!opened) co_return opened;
    speed_ = SpeedMeter(around_.loop.now(), resumed_->offset);
    progressed(resumed_->offset);
    co_return Result<void>();
}

void Reception::goOnIn(ReceivingFolders::Place place, ResumePoint point, NotedReach durable) {
    const NotedPart part{
        .first = 0, .written = {.end = point.offset, .checksum = point.checksum}, .durable = std::move(durable)};
    receiveIn(std::move(place), {.partial = point.partial, .file = {}, .parts = {part}});
    link_ = point.link;
    partial_->announce({.length = point.length, .validator = point.validator, .limit = point.length});
    furthest_ = point.offset;
    isJoined_ = true;
    resumed_ = std::move(point);
}

void Reception::receiveIn(ReceivingFolders::Place place, PartialNote begun) {
    name_ = begun.partial;
    place_ = std::move(place);
    begun.file.fileID = item_->fileID;
    begun.file.checksum = listedChecksum(*item_);
    const NotedReach reach = begun.beginning();
    const std::filesystem::path path = place_.folder / name_.text();
    partial_ = std::make_shared<PartialFile>(
        PartialFile::Place{around_.files, around_.volumes, place_.lane, path},
        ArrivedBytes{.length = reach.end, .checksum = reach.checksum},
        std::make_unique<NoteKeeper>(around_.files, path, around_.bootID, std::move(begun), reach.end > 0));
    noteEverySecond();
}

void Reception::noteEverySecond() {
    noting_ = around_.loop.schedule(std::chrono::seconds(1), [this] {
        partial_->second();
        noteEverySecond();
    });
}

bool Reception::isFruitless() const {
    return isAdopted_ && partial_->written().length <= resumed_->offset;
}

// --- How it ends ---

Task<Result<ArrivedBytes>> Reception::finish(bool mustKnowChecksum) {
    noting_.reset();
    auto finish = [partial = partial_, mustKnowChecksum] {
        return mustKnowChecksum ? partial->readAgain() : partial->finish();
    };
    Result<ArrivedBytes> arrived =
        co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(finish));
    co_return arrived;
}

Task<std::optional<ByteBlob>> Reception::keep(std::optional<std::chrono::milliseconds> limit) {
    if (!partial_) co_return std::nullopt;
    noting_.reset();
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
    if (link_.empty() || announced.validator.empty() || !announced.length) return std::nullopt;
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
    noting_.reset();
    partial_->close();
    around_.volumes.run(partial_->lane(), [partial = partial_] { partial->remove(); });
}

void Reception::forget() {
    resumed_.reset();
    isAdopted_ = false;
    isSpoilt_ = false;
    isJoined_ = false;
    partial_.reset();
}

void Reception::beginAnew() {
    discard();
    forget();
    receiveIn(chosen_.folder.empty() ? place_ : chosen_,
              {.partial = around_.random.makeUUID(), .file = {}, .parts = {}});
    speed_ = SpeedMeter(around_.loop.now());
    item_->progress = 0;
    progressed(0);
}

void Reception::letGo() {
    if (!partial_) return;
    noting_.reset();
    partial_->abandon();
    const ArrivedBytes arrived = partial_->written();
    const AnnouncedFile announced = partial_->announced();
    const NotedPart part{.first = 0, .written = {arrived.length, arrived.checksum}, .durable = {}};
    PartialNote note{.partial = name_,
                     .file = {.fileID = item_->fileID,
                              .length = announced.length.value_or(0),
                              .validator = announced.validator,
                              .checksum = listedChecksum(*item_)},
                     .parts = {part}};
    if (isSpoilt_ || partial_->isRefused() || arrived.length < 1 || !note.file.canBeGoneOnFrom())
        discard();
    else
        around_.leftovers.put({.folder = around_.receiving.tokenOf(place_.folder), .note = std::move(note)});
}

}  // namespace tovri
