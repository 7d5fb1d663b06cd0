#include "downloads/placing/ConflictQueue.h"

#include <algorithm>
#include <utility>

namespace tovri {

ConflictQueue::ConflictQueue(DownloadList& list)
    : list_(list), subscription_(list.onChange([this](const QueueChange& change) { follow(change); })) {}

// Keeps the covered items to those that still can meet a conflict, as each finishes or leaves.
void ConflictQueue::follow(const QueueChange& change) {
    using Kind = QueueChange::Kind;
    if (!applyToAllChoice_ || (change.kind != Kind::status && change.kind != Kind::removed)) return;
    if (change.item) {
        if (change.kind == Kind::removed || isFinished(change.item->status))
            applyToAllDownloadIDs_.erase(change.item->id);
    }
    pruneApplyToAll();
}

void ConflictQueue::pruneApplyToAll() {
    if (applyToAllDownloadIDs_.empty()) applyToAllChoice_.reset();
}

std::optional<ConflictChoice> ConflictQueue::rememberedChoice(const FileConflict& conflict) const {
    if (conflict.isOnlyCopy && applyToAllChoice_ == ConflictChoice::replace) return std::nullopt;
    return applyToAllDownloadIDs_.contains(conflict.download->id) ? applyToAllChoice_ : std::nullopt;
}

void ConflictQueue::show(std::optional<FileConflict> conflict) {
    pending_ = std::move(conflict);
    list_.tell(QueueChange::Kind::conflict);
}

void ConflictQueue::presentOrQueueConflict(FileConflict conflict) {
    if (pending_)
        queuedConflicts_.push_back(std::move(conflict));
    else
        show(std::move(conflict));
}

void ConflictQueue::resolveConflict(ConflictChoice choice, bool applyToAll) {
    if (!pending_) return;
    if (applyToAll) {
        applyToAllChoice_ = choice;
        applyToAllDownloadIDs_.clear();
        for (const ConstDownloadPointer& item : list_.items())
            if (!isFinished(item->status)) applyToAllDownloadIDs_.insert(item->id);
    }
    FileConflict answered = std::move(*pending_);
    pending_.reset();
    answered.continuation(choice);
    advanceConflictQueue();
    pruneApplyToAll();
}

void ConflictQueue::advanceConflictQueue() {
    while (!pending_ && !queuedConflicts_.empty()) {
        FileConflict next = std::move(queuedConflicts_.front());
        queuedConflicts_.pop_front();
        const auto remembered = rememberedChoice(next);
        if (!remembered) {
            show(std::move(next));
            return;
        }
        next.continuation(remembered);
    }
    if (!pending_) list_.tell(QueueChange::Kind::conflict);
}

void ConflictQueue::dismissConflict(const Download& item) {
    if (pending_ && pending_->download->id == item.id) {
        FileConflict withdrawn = std::move(*pending_);
        pending_.reset();
        withdrawn.continuation(std::nullopt);
        advanceConflictQueue();
        applyToAllDownloadIDs_.erase(item.id);
        pruneApplyToAll();
        return;
    }
    const auto queued = std::ranges::find(queuedConflicts_, item.id,
                                          [](const FileConflict& conflict) { return conflict.download->id; });
    if (queued == queuedConflicts_.end()) return;
    FileConflict withdrawn = std::move(*queued);
    queuedConflicts_.erase(queued);
    withdrawn.continuation(std::nullopt);
    applyToAllDownloadIDs_.erase(item.id);
    pruneApplyToAll();
}

}  // namespace tovri
