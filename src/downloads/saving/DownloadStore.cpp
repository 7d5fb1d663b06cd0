#include "downloads/saving/DownloadStore.h"

namespace tovri {

DownloadStore::DownloadStore(const Platform& platform)
    : platform_(platform),
      stagingDirectory_(platform.folders.applicationData / "Staging"),
      queueURL_(platform.folders.applicationData / "queue.json") {}

void DownloadStore::removeHalfWritten() {
    constexpr std::string_view mark = ".tovri-";
    const auto entries = platform_.files.directoryContents(queueURL_.parent_path());
    if (!entries) return;
    for (const std::filesystem::path& entry : *entries) {
        const std::string name = entry.filename().native();
        const bool isHidden = name.starts_with(mark) && UUID::parse(name.substr(mark.size()));
        if (isHidden && platform_.files.fileSize(entry)) (void)platform_.files.removeItem(entry);
    }
}

QueueSnapshot DownloadStore::load() {
    if (!platform_.files.exists(queueURL_)) return {};
    Result<ByteBlob> bytes = platform_.files.readFile(queueURL_);
    if (bytes) {
        loadedSize_ = static_cast<ByteCount>(bytes->size());
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

Result<ByteCount> DownloadStore::save(QueueSnapshot snapshot) const {
    prune(snapshot);
    ByteCount size = 0;
    const auto write = [&](const FileManager::Sink& sink) {
        return encodeQueue(snapshot, [&](std::string_view piece) {
            size += static_cast<ByteCount>(piece.size());
            return sink(piece);
        });
    };
    if (Result<void> written = platform_.files.writeFileAtomically(queueURL_, write); !written) return failure(written);
    return size;
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
