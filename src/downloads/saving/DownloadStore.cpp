#include "downloads/saving/DownloadStore.h"

namespace tovri {

DownloadStore::DownloadStore(const Platform& platform)
    : platform_(platform),
      stagingDirectory_(platform.folders.applicationData / "Staging"),
      queueURL_(platform.folders.applicationData / "queue.json") {}

QueueSnapshot DownloadStore::load() {
    if (!platform_.files.exists(queueURL_)) return {};
    Result<ByteBlob> bytes = platform_.files.readFile(queueURL_);
    if (bytes) {
        Result<QueueSnapshot> snapshot = decodeQueue(std::move(*bytes));
        if (snapshot && snapshot->version <= 1) {
            prune(*snapshot);
            return std::move(*snapshot);
        }
    }
    platform_.log.line("[DownloadStore] Ignoring unreadable queue at " + queueURL_.native());
    keepUnreadableFile();
    return {};
}

void DownloadStore::keepUnreadableFile() {
    for (int number = 1;; ++number) {
        const auto name = "queue.unreadable-" + std::to_string(number) + ".json";
        const Result<void> kept = platform_.files.cloneFile(queueURL_, queueURL_.parent_path() / name);
        if (kept || kept.error().code != ErrorCase::alreadyExists) return;
    }
}

bool DownloadStore::save(QueueSnapshot snapshot, std::uint64_t saveNumber) {
    prune(snapshot);
    const std::scoped_lock lock(writing_);
    if (saveNumber < lastWritten_) return true;
    const Result<void> written = platform_.files.writeFileAtomically(
        queueURL_, [&](const FileManager::Sink& sink) { return encodeQueue(snapshot, sink); });
    if (written)
        lastWritten_ = saveNumber;
    else
        platform_.log.line("[DownloadStore] Failed to write queue: " + written.error().description);
    return written.has_value();
}

void DownloadStore::prune(QueueSnapshot& snapshot) const {
    constexpr std::chrono::seconds keptFor{2'592'000};  // 30 days
    const Timestamp now = platform_.clock.now();
    std::erase_if(snapshot.downloads, [&](const DownloadRecord& item) {
        const auto reference = item.completedAt ? item.completedAt : item.startedAt;
        return isFinished(item.status) && reference && now - *reference > keptFor;
    });
}

void DownloadStore::cleanStaging(const std::set<std::filesystem::path>& keep) {
    const auto entries = platform_.files.directoryContents(stagingDirectory_);
    if (!entries) return;
    for (const std::filesystem::path& entry : *entries)
        if (!keep.contains(entry.lexically_normal())) (void)platform_.files.removeItem(entry);
}

}  // namespace tovri
