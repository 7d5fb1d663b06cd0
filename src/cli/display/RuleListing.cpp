#include "cli/display/RuleListing.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "cli/display/QueueListing.h"
#include "cli/display/RowLayout.h"
#include "cli/display/ShortID.h"

namespace tovri::cli {
namespace {

constexpr std::string_view dot = " · ";

std::string localText(const SyncRule& rule, const std::filesystem::path& home) {
    const bool isBelowHome = rule.localFolderPath == home || rule.localFolderPath.starts_with(home.native() + "/");
    return isBelowHome ? "~" + rule.localFolderPath.substr(home.native().size()) : rule.localFolderPath;
}

std::string statusText(const SyncRule& rule, Timestamp now) {
    if (!rule.isEnabled) return "Paused";
    if (!rule.isInitialized) return "Initializing";
    if (!rule.lastSyncDate) return "Waiting";
    return timeSince(*rule.lastSyncDate, now) + " ago";
}

std::string detailText(const SyncRule& rule, Timestamp now) {
    std::string text = statusText(rule, now);
    if (rule.isEnabled) text += fmt::format("{}every {}m", dot, rule.pollIntervalMinutes);
    if (rule.deleteAfterDownload) text += fmt::format("{}deletes from put.io", dot);
    return text;
}

}  // namespace

std::vector<std::string> ruleLines(const std::vector<SyncRule>& rules, Timestamp now, const std::filesystem::path& home,
                                   std::optional<std::size_t> width) {
    if (rules.empty()) return {"No Automation Rules"};
    std::vector<ListedRow> rows;
    for (const SyncRule& rule : rules)
        rows.push_back({shortID(rule.id, rules.size()),
                        printable(fmt::format("{} → {}", rule.putioFolderName, localText(rule, home))),
                        detailText(rule, now)});
    return alignedRows(rows, width);
}

std::string rulesJSON(const std::vector<SyncRule>& rules) {
    JSON json;
    json.beginObject().key("rules").beginArray();
    for (const SyncRule& rule : rules) {
        json.beginObject()
            .field("id", rule.id.text())
            .field("putioFolderID", rule.putioFolderID)
            .field("putioFolderName", unicodeText(rule.putioFolderName))
            .field("localFolderPath", unicodeText(rule.localFolderPath))
            .flag("deleteAfterDownload", rule.deleteAfterDownload)
            .flag("isEnabled", rule.isEnabled)
            .field("pollIntervalMinutes", rule.pollIntervalMinutes)
            .flag("isInitialized", rule.isInitialized)
            .field("knownFiles", static_cast<std::int64_t>(rule.knownFileIDs.size()))
            .field("pendingFiles", static_cast<std::int64_t>(rule.pendingFileIDs.size()));
        if (rule.lastSyncDate)
            json.field("lastSyncDate",
                       fmt::format("{:%FT%TZ}", std::chrono::floor<std::chrono::seconds>(*rule.lastSyncDate)));
        json.endObject();
    }
    json.endArray().endObject();
    return std::string(json.line());
}

}  // namespace tovri::cli
