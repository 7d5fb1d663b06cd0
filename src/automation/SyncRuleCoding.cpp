#include "automation/SyncRuleCoding.h"

#include <array>

#include <rapidjson/writer.h>

#include "downloads/saving/SavedText.h"
#include "downloads/saving/SavedValues.h"

namespace tovri {
namespace {

using namespace saved;

using Writer = rapidjson::Writer<SlashEscapingText>;

void writeIDs(Writer& json, std::string_view key, const FileIDSet& ids) {
    writeKey(json, key);
    json.StartArray();
    for (const std::int64_t id : ids) json.Int64(id);
    json.EndArray();
}

void writeRule(Writer& json, const SyncRule& rule) {
    json.StartObject();
    writeMember(json, "id", rule.id.text());
    writeMember(json, "putioFolderID", rule.putioFolderID);
    writeMember(json, "putioFolderName", readable(rule.putioFolderName));
    writeMember(json, "localFolderPath", readable(rule.localFolderPath));
    if (rule.localFolderBookmark) writeMember(json, "localFolderBookmark", base64Encoded(*rule.localFolderBookmark));
    writeFlag(json, "deleteAfterDownload", rule.deleteAfterDownload);
    writeFlag(json, "isEnabled", rule.isEnabled);
    writeMember(json, "pollIntervalMinutes", rule.pollIntervalMinutes);
    writeIDs(json, "knownFileIDs", rule.knownFileIDs);
    writeIDs(json, "pendingFileIDs", rule.pendingFileIDs);
    writeFlag(json, "isInitialized", rule.isInitialized);
    if (rule.lastSyncDate) {
        writeKey(json, "lastSyncDate");
        json.Double(savedDate(*rule.lastSyncDate));
    }
    json.EndObject();
}

FileIDSet readIDs(json::value& value, std::string_view key) {
    std::vector<std::int64_t> ids;
    for (auto element : read<json::array>(value, key, "an array")) {
        json::value id = element.value();
        ids.push_back(readInteger(id, key));
    }
    return FileIDSet(std::move(ids));
}

constexpr std::array<std::string_view, 8> requiredKeys = {
    "id",        "putioFolderID",       "putioFolderName", "localFolderPath", "deleteAfterDownload",
    "isEnabled", "pollIntervalMinutes", "knownFileIDs"};

void readRequired(SyncRule& rule, std::string_view key, json::value& value) {
    if (key == "id")
        rule.id = readUUID(value, key);
    else if (key == "putioFolderID")
        rule.putioFolderID = readInteger(value, key);
    else if (key == "putioFolderName")
        rule.putioFolderName = readText(value, key);
    else if (key == "localFolderPath")
        rule.localFolderPath = readText(value, key);
    else if (key == "deleteAfterDownload")
        rule.deleteAfterDownload = readFlag(value, key);
    else if (key == "isEnabled")
        rule.isEnabled = readFlag(value, key);
    else if (key == "pollIntervalMinutes")
        rule.pollIntervalMinutes = readInteger(value, key);
    else
        rule.knownFileIDs = readIDs(value, key);
}

void readOptional(SyncRule& rule, std::string_view key, json::value& value) {
    if (key == "localFolderBookmark")
        rule.localFolderBookmark = readBlob(value, key);
    else if (key == "pendingFileIDs")
        rule.pendingFileIDs = readIDs(value, key);
    else if (key == "isInitialized")
        rule.isInitialized = readFlag(value, key);
    else if (key == "lastSyncDate")
        rule.lastSyncDate = readDate(value, key);
}

SyncRule readRule(json::object object) {
    SyncRule rule;
    rule.isInitialized = true;  // unless the file says otherwise
    readMembers(
        object, "a rule", requiredKeys,
        [&](std::string_view key, json::value& value) { readRequired(rule, key, value); },
        [&](std::string_view key, json::value& value) { readOptional(rule, key, value); });
    return rule;
}

}  // namespace

Result<void> encodeRules(const std::vector<SyncRule>& rules, const FileManager::Sink& sink) {
    SlashEscapingText text(sink);
    Writer json(text);
    json.StartArray();
    for (const SyncRule& rule : rules) writeRule(json, rule);
    json.EndArray();
    return text.finish();
}

Result<std::vector<SyncRule>> decodeRules(ByteBlob text) {
    return decode<std::vector<SyncRule>>(std::move(text), "rules file", [](json::document& document) {
        std::vector<SyncRule> rules;
        for (auto element : json::array(document.get_array())) rules.push_back(readRule(element.get_object()));
        return rules;
    });
}

}  // namespace tovri
