#include <rapidjson/prettywriter.h>

#include "base/FileURL.h"
#include "downloads/saving/QueueSnapshot.h"
#include "downloads/saving/SavedDate.h"
#include "downloads/saving/SavedText.h"

namespace tovri {
namespace {

using saved::writeFlag;
using saved::writeKey;
using saved::writeMember;
using Writer = rapidjson::PrettyWriter<saved::SlashEscapingText>;

void writeMember(Writer& json, std::string_view key, const std::optional<std::int64_t>& number) {
    if (number) writeMember(json, key, *number);
}

void writeMember(Writer& json, std::string_view key, const std::optional<UUID>& id) {
    if (id) writeMember(json, key, id->text());
}

void writeMember(Writer& json, std::string_view key, const std::optional<Timestamp>& time) {
    if (!time) return;
    writeKey(json, key);
    json.Double(savedDate(*time));
}

void writePath(Writer& json, std::string_view key, const std::optional<std::string>& path) {
    if (path) writeMember(json, key, fileURLText(*path, FileURLKind::file));
}

// In ascending order of the keys.
void writeRecord(Writer& json, const DownloadRecord& item) {
    json.StartObject();
    writeMember(json, "bytesDownloaded", item.bytesDownloaded);
    writeMember(json, "completedAt", item.completedAt);
    writeFlag(json, "deleteAfterDownload", item.deleteAfterDownload);
    writeMember(json, "destinationFolder", fileURLText(*item.destinationFolder, FileURLKind::folder));
    if (item.error) writeMember(json, "error", saved::readable(*item.error));
    writeMember(json, "fileID", item.fileID);
    writeMember(json, "fileName", item.fileName);
    writeMember(json, "fileSize", item.fileSize);
    writeMember(json, "folderDeleteID", item.folderDeleteID);
    writeMember(json, "folderGroupID", item.folderGroupID);
    writeMember(json, "id", item.id.text());
    writeKey(json, "progress");
    json.Double(item.progress);
    writePath(json, "resolvedURL", item.resolvedURL);
    if (item.resumeData) writeMember(json, "resumeData", base64Encoded(*item.resumeData));
    if (item.securityScopeBookmark)
        writeMember(json, "securityScopeBookmark", base64Encoded(*item.securityScopeBookmark));
    writePath(json, "stagedURL", item.stagedURL);
    writeMember(json, "startedAt", item.startedAt);
    writeMember(json, "status", rawValue(item.status));
    writeMember(json, "syncRuleID", item.syncRuleID);
    json.EndObject();
}

}  // namespace

Result<void> encodeQueue(const QueueSnapshot& snapshot, const FileManager::Sink& sink) {
    saved::SlashEscapingText text(sink);
    Writer json(text);
    json.SetIndent(' ', 2);

    json.StartObject();
    writeKey(json, "downloads");
    json.StartArray();
    for (const DownloadRecord& item : snapshot.downloads) writeRecord(json, item);
    json.EndArray();
    writeKey(json, "folderGroupExpectedCounts");
    json.StartObject();
    for (const auto& [group, count] : snapshot.folderGroupExpectedCounts) writeMember(json, group, count);
    json.EndObject();
    writeFlag(json, "isPaused", snapshot.isPaused);
    writeMember(json, "version", snapshot.version);
    json.EndObject();
    return text.finish();
}

}  // namespace tovri
