// What the queue comes to as a whole.
#include <algorithm>
#include <iterator>
#include <numeric>

#include "downloads/DownloadManager.h"
#include "downloads/running/DownloadRun.h"

namespace tovri {

using Status = Download::Status;

std::size_t DownloadManager::activeCount() const {
    return list_.count({Status::downloading, Status::awaitingConflict});
}

BytesPerSecond DownloadManager::totalSpeed() const {
    const auto running = list_.withStatus(Status::downloading);
    return std::transform_reduce(running.begin(), running.end(), BytesPerSecond(), std::plus<>(),
                                 [](const ConstDownloadPointer& item) { return item->speed; });
}

std::vector<ConstDownloadPointer> DownloadManager::activeDownloads() const {
    return list_.withStatus({Status::downloading, Status::deleting, Status::awaitingConflict});
}

std::vector<ConstDownloadPointer> DownloadManager::finishedDownloads() const {
    return list_.withStatus(finishedStatuses);
}

bool DownloadManager::hasUnfinishedWork() const {
    return list_.count({Status::downloading, Status::queued, Status::awaitingConflict}) > 0;
}

bool DownloadManager::canRunNow() const {
    if (list_.count({Status::downloading, Status::awaitingConflict, Status::deleting}) > 0) return true;
    if (!isSignedIn_ || around_.isQueuePaused) return false;
    // What waits for room may need less of it than was thought.
    const bool mayNeedLess = list_.heldCount() > 0 && leftovers_.isLooking();
    return list_.nextCandidate() || held_.isLooking() || mayNeedLess || serviceHolds_.isAnyHeld();
}

std::optional<MainLoop::TimePoint> DownloadManager::waitsForServiceSince() const {
    if (list_.count({Status::awaitingConflict, Status::deleting}) > 0 || held_.isLooking()) return std::nullopt;
    std::vector<ConstDownloadPointer> items = list_.withStatus(Status::downloading);
    std::ranges::copy(serviceHolds_.held(), std::back_inserter(items));
    const auto isOtherwiseBusy = [](const ConstDownloadPointer& item) {
        return (item->run && item->run->isPlacing()) || (item->tries && item->tries->isLosingPatience());
    };
    const auto isHeldUp = [](const ConstDownloadPointer& item) {
        return item->tries && item->tries->isStruggling() && !item->tries->isLosingPatience();
    };
    if (std::ranges::any_of(items, isOtherwiseBusy) || std::ranges::none_of(items, isHeldUp)) return std::nullopt;
    return around_.lastGain;
}

double DownloadManager::overallProgress() const {
    ByteCount received = 0;
    ByteCount total = 0;
    for (const ConstDownloadPointer& item : list_.items()) {
        if (!occupiesSlot(item->status) && item->status != Status::paused && item->status != Status::queued) continue;
        received += item->bytesDownloaded;
        total += item->expectedSize();
    }
    return total > 0 ? static_cast<double>(received) / static_cast<double>(total) : 0.0;
}

int DownloadManager::connectionsOf(const Download& item) {
    return item.run ? item.run->connections() : 0;
}

std::string DownloadManager::queueETAText() const {
    const BytesPerSecond speed = totalSpeed();
    if (speed <= BytesPerSecond()) return "";
    ByteCount remaining = 0;
    for (const ConstDownloadPointer& item : list_.items())
        if (item->status == Status::downloading || item->status == Status::queued)
            remaining += item->expectedSize() - item->bytesDownloaded;
    return remaining > 0 ? durationText(timeFor(remaining, speed).count()) : "";
}

}  // namespace tovri
