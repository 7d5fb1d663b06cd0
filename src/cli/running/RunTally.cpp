#include "cli/running/RunTally.h"

namespace tovri::cli {
namespace {

using Status = Download::Status;

bool isUnfinished(Status status) {
    return status == Status::queued || occupiesSlot(status);
}

}  // namespace

void RunTally::follow(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::inserted || change.kind == QueueChange::Kind::removed) recount();
    if (change.kind == QueueChange::Kind::removed && change.item) {
        goneUndeleted_ += undeleted_.erase(change.item->id);
        goneDoubtful_ += doubtful_.erase(change.item->id);
        left_.erase(change.item->id);
    }
    if (change.kind != QueueChange::Kind::status) return;
    const Download& item = *change.item;
    followDeletion(change);
    if (item.isDoubtful())
        doubtful_.insert(item.id);
    else
        doubtful_.erase(item.id);
    const bool was = isUnfinished(change.previous);
    const bool is = isUnfinished(item.status);
    if (was && !is) unfinishedBytes_ -= item.fileSize;
    if (!was && is) unfinishedBytes_ += item.fileSize;
    if (!was || is || item.status == Status::paused) return;
    finishedBytes_ += item.status == Status::completed ? item.bytesDownloaded : item.fileSize;
    if (item.status == Status::skipped)
        ++skipped;
    else if (item.status == Status::failed)
        ++failed;
    else if (item.status != Status::cancelled)
        ++arrived;
}

void RunTally::followDeletion(const QueueChange& change) {
    const Download& item = *change.item;
    if (item.status == Status::remoteDeleteFailed)
        undeleted_.insert(item.id);
    else
        undeleted_.erase(item.id);
    const bool wasAsked = change.previous == Status::deleting || change.previous == Status::remoteDeleteFailed;
    const bool isHere = item.status == Status::completed || item.status == Status::skipped;
    if (isHere && isDeletedLater(item) && !wasAsked)
        left_.insert(item.id);
    else
        left_.erase(item.id);
}

std::vector<ConstDownloadPointer> RunTally::staying() const {
    if (left_.empty()) return {};
    const auto& items = downloads_.downloads().items();
    std::unordered_set<UUID> open;  // folders that may go yet, or of which a file has failed, which is said
    for (const ConstDownloadPointer& item : items) {
        const bool hasFailed = item->status == Status::failed || item->status == Status::remoteDeleteFailed;
        if (item->folderGroupID && (hasFailed || !isFinished(item->status))) open.insert(*item->folderGroupID);
    }
    std::vector<ConstDownloadPointer> staying;
    for (const ConstDownloadPointer& item : items)
        if (left_.contains(item->id) && !(item->folderGroupID && open.contains(*item->folderGroupID)))
            staying.push_back(item);
    return staying;
}

std::size_t RunTally::unfinished() const {
    return downloads_.downloads().count({Status::queued, Status::downloading, Status::awaitingConflict});
}

ByteCount RunTally::runningBytes() const {
    ByteCount bytes = 0;
    for (const ConstDownloadPointer& item : downloads_.downloads().withStatus(Status::downloading))
        bytes += item->bytesDownloaded;
    return bytes;
}

void RunTally::recount() {
    unfinishedBytes_ = 0;
    for (const ConstDownloadPointer& item : downloads_.downloads().items())
        if (isUnfinished(item->status)) unfinishedBytes_ += item->fileSize;
}

}  // namespace tovri::cli
