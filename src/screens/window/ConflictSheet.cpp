#include "screens/window/ConflictSheet.h"

namespace tovri {

ConflictSheet conflictSheet(const FileConflict& conflict) {
    std::string message = "\"" + conflict.download->fileName + "\" already exists at this location.";
    if (conflict.isOnlyCopy) message += " Its original is no longer on put.io.";
    return {conflict.id, std::move(message), conflict.existingURL.native()};
}

}  // namespace tovri
