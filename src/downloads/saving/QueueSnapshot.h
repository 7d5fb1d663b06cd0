#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Result.h"
#include "downloads/list/Download.h"
#include "platform/FileManager.h"

namespace tovri {

// The whole queue at one instant, as the queue file holds it.
struct QueueSnapshot {
    std::int64_t version = 1;
    bool isPaused = false;
    std::optional<std::string> bootID;      // the start of the machine since which nothing that is completed was lost
    std::vector<DownloadRecord> downloads;  // in list order
    std::map<std::string, std::int64_t> folderGroupExpectedCounts;  // by the text of the group's UUID
};

// The queue file's text: pretty-printed JSON, members sorted by key, every slash escaped. Fails as `sink` does.
[[nodiscard]] Result<void> encodeQueue(const QueueSnapshot& snapshot, const FileManager::Sink& sink);

// ErrorCase::decoding, naming what is wrong, when the text is not JSON, a required key is missing or a value has the
// wrong type or form. Unknown keys are ignored; a version above 1 is not this function's concern.
[[nodiscard]] Result<QueueSnapshot> decodeQueue(ByteBlob json);

}  // namespace tovri
