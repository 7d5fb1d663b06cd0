#include "automation/SyncRule.h"

#include <algorithm>

namespace tovri {

const SyncRule* ruleOfPair(const std::vector<SyncRule>& rules, const SyncRule& rule) {
    const auto same = std::ranges::find_if(rules, [&](const SyncRule& each) {
        return each.id != rule.id && each.putioFolderID == rule.putioFolderID &&
               each.localFolderPath == rule.localFolderPath;
    });
    return same == rules.end() ? nullptr : &*same;
}

std::filesystem::path localFolderURL(const SyncRule& rule, FolderAccess& access) {
    if (rule.localFolderBookmark)
        if (auto resolved = access.resolve(*rule.localFolderBookmark)) return std::move(resolved->folder);
    return rule.localFolderPath;
}

}  // namespace tovri
