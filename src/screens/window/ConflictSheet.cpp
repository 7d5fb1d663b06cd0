#include "screens/window/ConflictSheet.h"

#include "base/ByteCountFormat.h"

namespace tovri {

ConflictSheet conflictSheet(const FileConflict& conflict) {
    std::string message = "\"" + conflict.download->fileName + "\" already exists at this location.";
    if (conflict.isOnlyCopy) message += " Its original is no longer on put.io.";
    return {.id = conflict.id,
            .message = std::move(message),
            .existingPath = conflict.existingURL.native(),
            .existing = "…",
            .arriving = formatByteCount(conflict.download->bytesDownloaded)};
}

}  // namespace tovri
