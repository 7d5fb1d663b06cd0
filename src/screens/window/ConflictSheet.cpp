#include "screens/window/ConflictSheet.h"

namespace tovri {

ConflictSheet conflictSheet(const FileConflict& conflict) {
    return {conflict.id, "\"" + conflict.download->fileName + "\" already exists at this location.",
            conflict.existingURL.native()};
}

}  // namespace tovri
