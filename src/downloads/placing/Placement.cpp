#include "downloads/placing/Placement.h"

#include "downloads/placing/Destination.h"
#include "platform/Await.h"

namespace tovri {

Placement::Placement(const Platform& platform, std::shared_ptr<PlacementJournal> journal, DownloadList& list,
                     ConflictQueue& conflicts, Settlement& settlement, SaveSchedule& saves,
                     std::function<void()> stepEnded)
    : platform_(platform),
      journal_(std::move(journal)),
      list_(list),
      conflicts_(conflicts),
      settlement_(settlement),
      saves_(saves),
      stepEnded_(std::move(stepEnded)) {}

void Placement::placeFile(const DownloadPointer& item, const Path& staged) {
    scope_.start(place(item, staged));
}

void Placement::withdraw(const Download& item) {
    for (auto& [number, running] : running_)
        if (running.item == item.id) running.stop.request_stop();
}

FilePlacing Placement::begin(const Download& item, const Path& staged, const Path& destination) {
    const bool isDeletedLater = item.deleteAfterDownload || item.folderDeleteID;
    const bool hasSize = item.fileSize > 0;
    const PlacementNumber number = journal_->nextNumber();
    running_[number].item = item.id;
    return {.files = platform_.files,
            .folderAccess = platform_.folderAccess,
            .journal = journal_,
            .placement = number,
            .item = item.id,
            .bookmark = item.securityScopeBookmark,
            .staged = staged,
            .destination = destination,
            .mustBeDurable = isDeletedLater,
            .exactSize = isDeletedLater && hasSize ? std::optional(item.fileSize) : std::nullopt};
}

void Placement::end(PlacementNumber number) {
    running_.erase(number);
    ended_.push_back(number);
}

// Whether what was awaited is still wanted: the item may have been cancelled, removed or started anew meanwhile.
bool Placement::isCurrent(const Download& item, std::uint32_t attempt) const {
    return item.attempt == attempt && occupiesSlot(item.status) && list_.contains(item);
}

void Placement::discard(const Path& staged) {
    (void)platform_.files.removeItem(staged);
}

Task<> Placement::place(DownloadPointer item, Path staged) {
    const std::uint32_t attempt = item->attempt;
    Result<Path> target = destination(*item);
    if (!target) {
        discard(staged);
        settlement_.markFailed(item, target.error().description);
        stepEnded_();
        co_return;
    }
    const FilePlacing step = begin(*item, staged, *target);
    Result<Path> placed = co_await perform(step);
    end(step.placement);

    const bool isTaken = !placed && placed.error().code == ErrorCase::alreadyExists;
    if (!isCurrent(*item, attempt)) {
        discard(placed ? *placed : staged);
    } else if (isTaken) {
        scope_.start(handleConflict(item, staged, *target));
        co_return;
    } else if (placed) {
        item->stagedURL.reset();
        settlement_.markCompleted(item, *placed);
    } else {
        item->stagedURL.reset();
        settlement_.markFailed(item, placed.error().description);
    }
    stepEnded_();
}

// The first file of a folder finds out whether a rename is all that its followers need: waking another thread for that
// takes longer than the rename. A file whose name is taken is made durable, which takes long.
Task<Result<std::filesystem::path>> Placement::perform(FilePlacing step) {
    const std::string folder = step.destination.parent_path().native();
    if (!step.mustBeDurable && nearFolders_.contains(folder) && !platform_.files.exists(step.destination))
        co_return step.place({});

    const auto isNear = std::make_shared<bool>(false);
    auto work = [step, isNear, stop = stopToken(step.placement)](const std::stop_token&) {
        Result<Path> placed = step.place(stop);
        *isNear = placed && step.isOnStagingVolume(*placed);
        return placed;
    };
    Result<Path> placed = co_await inBackground<Path>(platform_.loop, platform_.background, {}, std::move(work));
    if (*isNear) nearFolders_.insert(folder);
    co_return placed;
}

std::optional<ConflictChoice> Placement::effectiveConflictChoice() const {
    if (!preferences_) return ConflictChoice::keepBoth;
    switch (preferences_->conflictBehavior()) {
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

Task<> Placement::handleConflict(DownloadPointer item, Path staged, Path existing) {
    const std::optional<ConflictChoice> choice = effectiveConflictChoice();
    if (choice) {
        co_await applyConflictChoice(item, *choice, staged, existing);
        co_return;
    }
    item->stagedURL = staged.native();
    item->speed = 0;
    list_.setStatus(*item, Download::Status::awaitingConflict);
    saves_.request(SaveSchedule::Urgency::soon);
    co_await beginConflictResolution(item, staged, existing);
}

Task<> Placement::beginConflictResolution(DownloadPointer item, Path staged, Path existing) {
    const std::uint32_t attempt = item->attempt;
    ConflictResolution resolution = conflicts_.rememberedChoice(*item);
    if (!resolution) {
        Result<ConflictResolution> answer = co_await Answer<ConflictResolution>(platform_.loop, {}, [&](auto done) {
            conflicts_.presentOrQueueConflict(
                {platform_.random.makeUUID(), item, existing, staged,
                 [done = std::move(done)](ConflictResolution given) mutable { done(given); }});
            stepEnded_();
            return Subscription();
        });
        resolution = *answer;
    }
    if (resolution && isCurrent(*item, attempt)) {
        co_await applyConflictChoice(item, *resolution, staged, existing);
        co_return;
    }
    discard(staged);
    if (item->attempt == attempt) item->stagedURL.reset();
    saves_.request(SaveSchedule::Urgency::soon);
    stepEnded_();
}

Task<> Placement::applyConflictChoice(DownloadPointer item, ConflictChoice choice, Path staged, Path existing) {
    const std::uint32_t attempt = item->attempt;
    const FilePlacing step = begin(*item, staged, existing);
    auto work = [step, choice, stop = stopToken(step.placement)](const std::stop_token&) {
        return step.apply(choice, stop);
    };
    Result<Path> placed = co_await inBackground<Path>(platform_.loop, platform_.background, {}, std::move(work));
    end(step.placement);

    if (!isCurrent(*item, attempt)) {
        // What was replaced is gone: then the new file is better than none.
        if (!placed || choice == ConflictChoice::keepBoth) discard(placed ? *placed : staged);
    } else {
        item->stagedURL.reset();
        if (!placed)
            settlement_.markFailed(item, placed.error().description);
        else if (placed->empty())
            settlement_.markSkipped(item);
        else
            settlement_.markCompleted(item, *placed);
    }
    stepEnded_();
}

}  // namespace tovri
