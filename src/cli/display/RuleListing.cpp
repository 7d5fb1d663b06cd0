#include "cli/display/RuleListing.h"

#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/RowLayout.h"
#include "cli/display/ShortID.h"
#include "cli/display/TimeText.h"
#include "screens/RelativeTime.h"
#include "screens/automation/SyncRuleRow.h"

namespace tovri::cli {
namespace {

constexpr std::string_view dot = " · ";

// In the row the time since the last pass stands in a column that says what it is; here words say it.
std::string statusText(const SyncRule& rule, const SyncRuleRow& row, Timestamp now) {
    if (rule.isEnabled && rule.isForeign) return "Waits for the account " + printable(rule.account.value_or(""));
    if (!rule.isEnabled || !rule.isInitialized || !rule.lastSyncDate) return row.status;
    return relativeTimeText(timeSince(*rule.lastSyncDate, now), UnitNames::whole) + " ago";
}

std::string detailText(const SyncRule& rule, const SyncRuleRow& row, Timestamp now) {
    std::string text = statusText(rule, row, now);
    if (row.isEnabled) text += fmt::format("{}every {}", dot, row.interval);
    if (row.deletes) text += fmt::format("{}deletes from put.io", dot);
    if (rule.lastFailure) text += fmt::format("{}failed: {}", dot, printable(*rule.lastFailure));
    return text;
}

}  // namespace

std::vector<std::string> ruleLines(const std::vector<SyncRule>& rules, Timestamp now, const std::filesystem::path& home,
                                   std::optional<std::size_t> width) {
    if (rules.empty()) return {"No Automation Rules"};
    std::vector<ListedRow> rows;
    for (const SyncRule& rule : rules) {
        const SyncRuleRow row = syncRuleRow(rule, home, now);
        rows.push_back({shortID(rule.id, rules.size()),
                        printable(fmt::format("{} → {}", row.folderName, row.localFolder)),
                        detailText(rule, row, now)});
    }
    return alignedRows(rows, width);
}

std::string rulesJSON(const std::vector<SyncRule>& rules) {
    JSON json;
    json.beginObject().key("rules").beginArray();
    for (const SyncRule& rule : rules) {
        json.beginObject()
            .field("id", rule.id.text())
            .field("putioFolderID", rule.putioFolderID)
            .field("putioFolderName", rule.putioFolderName)
            .field("localFolderPath", rule.localFolderPath)
            .flag("deleteAfterDownload", rule.deleteAfterDownload)
            .flag("isEnabled", rule.isEnabled)
            .field("pollIntervalMinutes", rule.pollIntervalMinutes)
            .flag("isInitialized", rule.isInitialized)
            .field("knownFiles", static_cast<std::int64_t>(rule.knownFileIDs.size()))
            .field("pendingFiles", static_cast<std::int64_t>(rule.pendingFileIDs.size()));
        if (rule.account) json.field("account", *rule.account);
        if (rule.lastSyncDate) json.field("lastSyncDate", timeText(*rule.lastSyncDate));
        if (rule.lastFailure) json.field("lastFailure", *rule.lastFailure);
        json.endObject();
    }
    json.endArray().endObject();
    return json.line();
}

}  // namespace tovri::cli
