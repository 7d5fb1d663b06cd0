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
    }
    if (change.kind != QueueChange::Kind::status) return;
    const Download& item = *change.item;
    if (item.status == Status::remoteDeleteFailed)
        undeleted_.insert(item.id);
    else
        undeleted_.erase(item.id);
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
