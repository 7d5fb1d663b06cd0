#include "cli/commands/queue/SavedQueue.h"

#include "downloads/saving/DownloadStore.h"

namespace tovri::cli {

Result<QueueSnapshot> readSavedQueue(const Platform& platform) {
    const std::filesystem::path file = DownloadStore::queueURL(platform.folders.applicationData);
    if (!platform.files.exists(file)) return QueueSnapshot();
    Result<ByteBlob> bytes = platform.files.readFile(file);
    if (!bytes) return failure(bytes);
    Result<QueueSnapshot> queue = decodeQueue(*bytes);
    if (queue && queue->version <= 1) return queue;
    const std::string reason = queue ? "it was written by a newer version." : queue.error().description;
    return failure(Error(ErrorCase::decoding, "The saved queue at " + file.native() + " cannot be read: " + reason +
                                                  " tovri-cli run keeps it under another name and begins a new one."));
}

}  // namespace tovri::cli
