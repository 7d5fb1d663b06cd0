#include "cli/commands/QueueEditing.h"

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <unordered_set>

namespace tovri::cli {
namespace {

using enum DownloadStatus;

bool canPause(const DownloadRecord& item) {
    return item.status == queued || item.status == downloading;
}

bool pause(DownloadRecord& item) {
    if (!canPause(item)) return false;
    if (!item.resumeData) {
        item.progress = 0;
        item.bytesDownloaded = 0;
    }
    item.status = paused;
    return true;
}

bool resume(DownloadRecord& item) {
    if (item.status != paused) return false;
    item.status = queued;
    return true;
}

bool cancel(DownloadRecord& item, Timestamp now) {
    if (isFinished(item.status) || item.status == deleting) return false;
    item.status = cancelled;
    item.completedAt = now;
    item.stagedURL.reset();
    item.resumeData.reset();
    return true;
}

std::unordered_set<UUID> setOf(const std::vector<UUID>& items) {
    return {items.begin(), items.end()};
}

// Counts the downloads that `change` changed.
template <class Change>
std::size_t changeAll(QueueSnapshot& queue, Change change) {
    return static_cast<std::size_t>(std::ranges::count_if(queue.downloads, change));
}

template <class Change>
std::size_t changeSome(QueueSnapshot& queue, const std::vector<UUID>& items, Change change) {
    const std::unordered_set<UUID> wanted = setOf(items);
    return changeAll(queue, [&](DownloadRecord& item) { return wanted.contains(item.id) && change(item); });
}

}  // namespace

std::size_t pauseQueue(QueueSnapshot& queue) {
    queue.isPaused = true;
    return changeAll(queue, pause);
}

std::size_t resumeQueue(QueueSnapshot& queue) {
    queue.isPaused = false;
    return changeAll(queue, resume);
}

std::size_t pauseItems(QueueSnapshot& queue, const std::vector<UUID>& items) {
    return changeSome(queue, items, pause);
}

std::size_t resumeItems(QueueSnapshot& queue, const std::vector<UUID>& items) {
    return changeSome(queue, items, resume);
}

std::size_t cancelItems(QueueSnapshot& queue, const std::vector<UUID>& items, Timestamp now) {
    return changeSome(queue, items, [now](DownloadRecord& item) { return cancel(item, now); });
}

std::size_t cancelAllItems(QueueSnapshot& queue, Timestamp now) {
    return changeAll(queue, [now](DownloadRecord& item) { return cancel(item, now); });
}

std::size_t removeItems(QueueSnapshot& queue, const std::vector<UUID>& items) {
    const std::unordered_set<UUID> unwanted = setOf(items);
    return std::erase_if(queue.downloads, [&](const DownloadRecord& item) { return unwanted.contains(item.id); });
}

std::size_t removeFinishedItems(QueueSnapshot& queue) {
    return std::erase_if(queue.downloads, [](const DownloadRecord& item) { return isFinished(item.status); });
}

std::size_t moveItemsToTop(QueueSnapshot& queue, const std::vector<UUID>& items) {
    std::unordered_map<UUID, std::size_t> placeOf;
    for (std::size_t i = 0; i < items.size(); ++i) placeOf.emplace(items[i], i);
    std::vector<DownloadRecord> moved(items.size());
    std::vector<DownloadRecord> others;
    others.reserve(queue.downloads.size());
    for (DownloadRecord& item : queue.downloads) {
        const auto place = placeOf.find(item.id);
        (place == placeOf.end() ? others.emplace_back() : moved[place->second]) = std::move(item);
    }
    std::ranges::move(others, std::back_inserter(moved));
    queue.downloads = std::move(moved);
    return items.size();
}

}  // namespace tovri::cli
