#include "automation/SyncRuleCoding.h"

#include <rapidjson/writer.h>

#include "downloads/saving/SavedRecord.h"
#include "downloads/saving/SavedText.h"

namespace tovri {
namespace {

using namespace saved;

struct IDSetFormat : ListFormat<IdentifierFormat<FileID>> {
    FileIDSet read(const SavedValue& saved) const { return FileIDSet(ListFormat::read(saved)); }
};

constexpr RecordFormat ruleFormat{
    "a rule",
    required("id", &SyncRule::id, UUIDFormat()),
    required("putioFolderID", &SyncRule::putioFolderID, IdentifierFormat<FolderID>()),
    required("putioFolderName", &SyncRule::putioFolderName, TextFormat()),
    required("localFolderPath", &SyncRule::localFolderPath, TextFormat()),
    optional("localFolderBookmark", &SyncRule::localFolderBookmark, Base64Format()),
    required("deleteAfterDownload", &SyncRule::deleteAfterDownload, FlagFormat()),
    required("isEnabled", &SyncRule::isEnabled, FlagFormat()),
    required("pollIntervalMinutes", &SyncRule::pollIntervalMinutes, IntegerFormat()),
    required("knownFileIDs", &SyncRule::knownFileIDs, IDSetFormat()),
    optional("pendingFileIDs", &SyncRule::pendingFileIDs, IDSetFormat()),
    optional("isInitialized", &SyncRule::isInitialized, FlagFormat()),
    younger("stockIsWhole", &SyncRule::stockIsWhole, FlagFormat()),
    optional("lastSyncDate", &SyncRule::lastSyncDate, DateFormat()),
    optional("account", &SyncRule::account, TextFormat()),
    optional("lastFailure", &SyncRule::lastFailure, TextFormat()),
    optional("watchedSince", &SyncRule::watchedSince, DateFormat()),
};

}  // namespace

Result<void> encodeRules(const std::vector<SyncRule>& rules, const FileManager::Sink& sink) {
    SlashEscapingText text(sink);
    rapidjson::Writer<SlashEscapingText> json(text);
    ListFormat(ruleFormat).write(json, rules);
    return text.finish();
}

Result<std::vector<SyncRule>> decodeRules(ByteBlob text) {
    return decode<std::vector<SyncRule>>(std::move(text), "rules file", [](json::document& document) {
        std::vector<SyncRule> rules;
        SharedValues shared;
        for (auto element : json::array(document.get_array())) {
            SyncRule& rule = rules.emplace_back();
            rule.isInitialized = true;  // unless the file says otherwise
            ruleFormat.read(element.get_object(), rule, shared);
        }
        return rules;
    });
}

}  // namespace tovri
