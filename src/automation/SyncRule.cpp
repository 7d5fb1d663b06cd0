#include "automation/SyncRule.h"

namespace tovri {

std::filesystem::path localFolderURL(const SyncRule& rule, FolderAccess& access) {
    if (rule.localFolderBookmark)
        if (auto resolved = access.resolve(*rule.localFolderBookmark)) return std::move(resolved->folder);
    return rule.localFolderPath;
}

}  // namespace tovri
