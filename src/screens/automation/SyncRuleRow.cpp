#include "screens/automation/SyncRuleRow.h"

#include "screens/RelativeTime.h"

namespace tovri {
namespace {

struct Status {
    std::string text;
    Tint tint = Tint::secondary;
    std::string help = {};
};

Status statusOf(const SyncRule& rule, Timestamp now) {
    if (!rule.isEnabled) return {"Paused", Tint::attention};
    if (rule.isForeign)
        return {"Other account", Tint::attention,
                "Made in the put.io account " + rule.account.value_or("") +
                    ". Pause it and enable it again to use it in the one that is signed in; what is in the folder then "
                    "stays there."};
    if (rule.isInitialized && rule.lastSyncDate) return {relativeTimeText(timeSince(*rule.lastSyncDate, now))};
    if (rule.isInitialized) return {"Waiting"};
    return {"Initializing", Tint::attention,
            "Taking stock of the files already in this folder. Nothing downloads until that succeeds."};
}

}  // namespace

std::string syncFailureText(std::string text) {
    constexpr std::string_view end = ".. Will retry.";
    if (text.ends_with(end)) text.erase(text.size() - end.size(), 1);
    return text;
}

std::string abbreviatedPath(const std::string& path, const std::filesystem::path& home) {
    const std::string& start = home.native();
    if (start.empty() || !path.starts_with(start)) return path;
    const std::string rest = path.substr(start.size());
    return rest.empty() || rest.front() == '/' ? "~" + rest : path;
}

SyncRuleRow syncRuleRow(const SyncRule& rule, const std::filesystem::path& home, Timestamp now) {
    Status status = statusOf(rule, now);
    const std::string failure = rule.lastFailure ? "The last look failed: " + *rule.lastFailure : "";
    return {.id = rule.id,
            .folderName = rule.putioFolderName,
            .deletes = rule.deleteAfterDownload,
            .localFolder = abbreviatedPath(rule.localFolderPath, home),
            .localFolderHelp = rule.localFolderPath,
            .interval = rule.isEnabled ? std::to_string(rule.pollIntervalMinutes) + "m" : "—",
            .status = std::move(status.text),
            .statusTint = rule.lastFailure ? Tint::attention : status.tint,
            .statusHelp = rule.lastFailure ? failure : status.help,
            .failure = failure,
            .isEnabled = rule.isEnabled};
}

std::optional<std::chrono::nanoseconds> timeToNextText(const SyncRule& rule, Timestamp now) {
    if (!rule.isEnabled || rule.isForeign || !rule.isInitialized || !rule.lastSyncDate) return std::nullopt;
    return timeToNextRelativeText(timeSince(*rule.lastSyncDate, now));
}

std::vector<MenuItem<SyncRuleAction>> syncRuleMenu() {
    return {{.action = SyncRuleAction::edit, .title = "Edit"},
            {.action = SyncRuleAction::syncNow, .title = "Sync Now"},
            MenuItem<SyncRuleAction>::separator(),
            {.action = SyncRuleAction::remove, .title = "Delete", .isDestructive = true}};
}

}  // namespace tovri
