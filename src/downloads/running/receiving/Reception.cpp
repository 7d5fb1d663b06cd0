#include "downloads/running/receiving/Reception.h"

#include "downloads/running/ArrivalProof.h"
#include "platform/Await.h"

namespace tovri {

using Urgency = SaveSchedule::Urgency;

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

bool Reception::isFruitless() const {
    return isAdopted_ && partial_->taken() <= begunWith_;
}

// --- How it ends ---

Task<Result<ArrivedBytes>> Reception::finish(bool mustKnowChecksum) {
    noting_.reset();
    auto finish = [partial = partial_, mustKnowChecksum] {
        return mustKnowChecksum ? partial->readAgain() : partial->finish();
    };
    Result<ArrivedBytes> arrived =
        co_await onVolume<ArrivedBytes>(around_.loop, around_.volumes, partial_->lane(), {}, std::move(finish));
    if (arrived && partial_->isWhole() && arrived->length != partial_->taken())
        co_return failure(Error(ErrorCase::file, "Not all parts of the file are there; retry."));
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
        if (files.fileSize(partial->path()) != arrived->length)
            return failure(Error(ErrorCase::file, "What had arrived is not there any more."));
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
    noting_.reset();
    item_->roomKept = 0;
    resumed_.reset();
    isAdopted_ = false;
    isSpoilt_ = false;
    isJoined_ = false;
    partial_.reset();
}

void Reception::beginAnew() {
    sides_.reset();
    discard();
    forget();
    receiveIn(chosen_.folder.empty() ? place_ : chosen_,
              {.partial = around_.random.makeUUID(), .file = {}, .parts = {}});
    speed_ = SpeedMeter(around_.loop.now());
    item_->progress = 0;
    progressed();
}

void Reception::letGo() {
    if (!partial_) return;
    noting_.reset();
    partial_->abandon();
    const AnnouncedFile announced = partial_->announced();
    std::vector<NotedPart> parts;
    for (const auto& [range, checksum] : partial_->parts().parts())
        parts.push_back({.first = range.first, .written = {range.end, checksum}, .durable = {range.first, Checksum()}});
    PartialNote note{.partial = name_,
                     .file = {.fileID = item_->fileID,
                              .length = announced.length.value_or(0),
                              .validator = announced.validator,
                              .checksum = listedChecksum(*item_)},
                     .parts = std::move(parts)};
    if (isSpoilt_ || partial_->isRefused() || note.beginning().end < 1 || !note.file.canBeGoneOnFrom())
        discard();
    else
        around_.leftovers.put({.folder = around_.receiving.tokenOf(place_.folder), .note = std::move(note)}, *item_);
}

}  // namespace tovri
