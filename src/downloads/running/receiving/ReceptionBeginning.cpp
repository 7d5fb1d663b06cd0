// Where a reception begins: at a token, with a file that is whole, with what an earlier transfer has left, or at the
// first byte.
#include "downloads/running/ArrivalProof.h"
#include "downloads/running/receiving/Reception.h"
#include "platform/Await.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

namespace {

Error lostToken() {
    return {ErrorCase::transport, "The transfer cannot go on from what was saved; the download starts over."};
}

}  // namespace

Task<Result<void>> Reception::open(RunTarget target, std::stop_token stop) {
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
    Result<ReceivingFolders::Place> place = co_await around_.receiving.choose(
        target.path.parent_path(), target.facts->volume.number, std::move(target.lane), stop);
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
    const NotedReach reach{.end = point.offset, .checksum = point.checksum};
    Standing standing{.point = std::move(point), .parts = {{.first = 0, .written = reach, .durable = reach}}};
    if (!standing.point.isWhole()) {
        Result<Standing> further = co_await withNote(standing, *place);
        if (further) standing = std::move(*further);
    }
    goOnIn(std::move(*place), std::move(standing));
    Result<void> opened = co_await reopen();
    if (!stop.stop_requested()) dropToken();
    co_return opened;
}

// What came after the token, where the process that went on from it was killed, and what is there behind gaps.
Task<Result<Reception::Standing>> Reception::withNote(Standing standing, ReceivingFolders::Place place) {
    const NotedFile file{.fileID = item_->fileID,
                         .length = standing.point.length,
                         .validator = standing.point.validator,
                         .checksum = listedChecksum(*item_)};
    const std::filesystem::path path = place.folder / standing.point.partial.text();
    auto read = [&files = around_.files, path, bootID = around_.bootID, file, standing]() -> Result<Standing> {
        const auto dated = NoteFile::read(files, path);
        auto note = dated ? dated->counting(bootID) : std::nullopt;
        Standing further = standing;
        if (!note || !file.isSame(note->file)) return further;
        const ByteCount size = files.fileSize(path).value_or(0);
        std::erase_if(note->parts, [size](const NotedPart& part) { return part.written.end > size; });
        further.parts = united(std::move(further.parts), note->parts);
        further.point.offset = further.parts.front().written.end;
        further.point.checksum = further.parts.front().written.checksum;
        if (!note->file.validator.empty()) further.point.validator = note->file.validator;
        return further;
    };
    Result<Standing> further =
        co_await onVolume<Standing>(around_.loop, around_.volumes, place.lane, {}, std::move(read));
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
    if (stop.stop_requested()) {
        around_.leftovers.put(std::move(left), *item_);
        co_return failure(Error::cancelled());
    }
    if (!place) co_return failure(place);
    const NotedFile file = left.note.file;
    const NotedReach reach = left.note.beginning();
    Standing standing{.point = {.link = "",
                                .validator = file.validator,
                                .length = file.length,
                                .offset = reach.end,
                                .partial = left.note.partial,
                                .checksum = reach.checksum,
                                .folder = left.folder},
                      .parts = std::move(left.note.parts)};
    for (NotedPart& part : standing.parts) part.durable = {.end = part.first, .checksum = Checksum()};
    Result<Standing> further = co_await withNote(std::move(standing), *place);
    isAdopted_ = true;
    goOnIn(std::move(*place), std::move(*further));
    partial_->putOnTrial();
    Result<void> opened = co_await reopen();
    if (!opened) co_return opened;
    progressed();
    co_return Result<void>();
}

void Reception::goOnIn(ReceivingFolders::Place place, Standing standing) {
    ResumePoint& point = standing.point;
    item_->onDisk = 0;
    item_->roomKept = standing.parts.back().written.end;  // also between them
    receiveIn(std::move(place), {.partial = point.partial, .file = {}, .parts = std::move(standing.parts)});
    link_ = point.link;
    partial_->announce({.length = point.length, .validator = point.validator, .limit = point.length});
    furthest_ = begunWith_ = partial_->taken();
    speed_ = SpeedMeter(around_.loop.now(), begunWith_);
    isJoined_ = true;
    resumed_ = std::move(point);
}

void Reception::receiveIn(ReceivingFolders::Place place, PartialNote begun) {
    name_ = begun.partial;
    place_ = std::move(place);
    begun.file.fileID = item_->fileID;
    begun.file.checksum = listedChecksum(*item_);
    std::vector<WrittenPart> parts;
    for (const NotedPart& part : begun.parts) parts.push_back({{part.first, part.written.end}, part.written.checksum});
    const bool mayHaveNote = !parts.empty();
    const std::filesystem::path path = place_.folder / name_.text();
    partial_ = std::make_shared<PartialFile>(
        PartialFile::Place{around_.files, around_.volumes, place_.lane, path}, WrittenParts(std::move(parts)),
        std::make_unique<NoteKeeper>(around_.files, path, around_.bootID, std::move(begun), mayHaveNote));
    noteEverySecond();
}

void Reception::noteEverySecond() {
    noting_ = around_.loop.schedule(std::chrono::seconds(1), [this] {
        partial_->second();
        noteEverySecond();
    });
}

}  // namespace tovri
