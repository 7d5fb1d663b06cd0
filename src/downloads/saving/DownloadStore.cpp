#include "downloads/saving/DownloadStore.h"

namespace tovri {

DownloadStore::DownloadStore(const Ports& ports)
    : files_(ports.files),
      clock_(ports.clock),
      log_(ports.log),
      stagingDirectory_(ports.folder / "Staging"),
      queueURL_(queueURL(ports.folder)) {}

void DownloadStore::removeHalfWritten() {
    constexpr std::string_view mark = ".tovri-";
    const auto entries = files_.directoryContents(queueURL_.parent_path());
    if (!entries) return;
    for (const std::filesystem::path& entry : *entries) {
        const std::string name = entry.filename().native();
        const bool isHidden = name.starts_with(mark) && UUID::parse(name.substr(mark.size()));
        if (isHidden && files_.fileSize(entry)) (void)files_.removeItem(entry);
    }
}

QueueSnapshot DownloadStore::load() {
    if (!files_.exists(queueURL_)) return {};
    Result<ByteBlob> bytes = files_.readFile(queueURL_);
    if (bytes) {
        loadedSize_ = static_cast<ByteCount>(bytes->size());
        Result<QueueSnapshot> snapshot = decodeQueue(std::move(*bytes));
        if (snapshot && snapshot->version <= 1) {
            prune(*snapshot);
            return std::move(*snapshot);
        }
    }
    log_.line("[DownloadStore] Ignoring unreadable queue at " + queueURL_.native());
    unreadableFile_ = queueURL_;
    keepUnreadableFile();
    return {};
}

void DownloadStore::keepUnreadableFile() {
    for (int number = 1;; ++number) {
        const auto name = "queue.unreadable-" + std::to_string(number) + ".json";
        const std::filesystem::path copy = queueURL_.parent_path() / name;
        const Result<void> kept = files_.cloneFile(queueURL_, copy);
        if (kept) unreadableFile_ = copy;
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
    if (Result<void> written = files_.writeFileAtomically(queueURL_, write); !written) return failure(written);
    return size;
}

void DownloadStore::prune(QueueSnapshot& snapshot) const {
    std::erase_if(snapshot.downloads,
                  [now = clock_.now()](const DownloadRecord& item) { return isOutdated(item, now); });
}

void DownloadStore::cleanStaging(const std::set<std::filesystem::path>& keep) {
    const auto entries = files_.directoryContents(stagingDirectory_);
    if (!entries) return;
    for (const std::filesystem::path& entry : *entries)
        if (!keep.contains(entry.lexically_normal())) (void)files_.removeItem(entry);
}

}  // namespace tovri
