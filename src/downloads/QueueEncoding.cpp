#include <algorithm>

#include <rapidjson/prettywriter.h>
#include <simdjson.h>

#include "base/FileURL.h"
#include "downloads/QueueDate.h"
#include "downloads/QueueSnapshot.h"

namespace tovri {
namespace {

// Puts a backslash before each slash. JSON has slashes inside strings only, so no state is needed.
class SlashEscapingText {
public:
    using Ch = char;

    void Put(char letter) {
        if (letter == '/') text_ += '\\';
        text_ += letter;
    }

    void Flush() {}

    void reserve(std::size_t size) { text_.reserve(size); }

    std::string take() { return std::move(text_); }

private:
    std::string text_;
};

using Writer = rapidjson::PrettyWriter<SlashEscapingText>;

void writeText(Writer& json, std::string_view text) {
    json.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
}

void writeKey(Writer& json, std::string_view key) {
    json.Key(key.data(), static_cast<rapidjson::SizeType>(key.size()));
}

void writeMember(Writer& json, std::string_view key, std::string_view text) {
    writeKey(json, key);
    writeText(json, text);
}

void writeMember(Writer& json, std::string_view key, std::int64_t number) {
    writeKey(json, key);
    json.Int64(number);
}

void writeMember(Writer& json, std::string_view key, const std::optional<std::int64_t>& number) {
    if (number) writeMember(json, key, *number);
}

void writeMember(Writer& json, std::string_view key, const std::optional<UUID>& id) {
    if (id) writeMember(json, key, id->text());
}

void writeMember(Writer& json, std::string_view key, const std::optional<Timestamp>& time) {
    if (!time) return;
    writeKey(json, key);
    json.Double(queueDate(*time));
}

void writePath(Writer& json, std::string_view key, const std::optional<std::string>& path) {
    if (path) writeMember(json, key, fileURLText(*path, FileURLKind::file));
}

// A description may name a local file whose name is not UTF-8; a file with such bytes would be refused when it is read.
std::string readable(std::string text) {
    if (!simdjson::validate_utf8(text))
        std::ranges::replace_if(text, [](char letter) { return static_cast<unsigned char>(letter) >= 0x80; }, '?');
    return text;
}

// In ascending order of the keys.
void writeRecord(Writer& json, const DownloadRecord& item) {
    json.StartObject();
    writeMember(json, "bytesDownloaded", item.bytesDownloaded);
    writeMember(json, "completedAt", item.completedAt);
    writeKey(json, "deleteAfterDownload");
    json.Bool(item.deleteAfterDownload);
    writeMember(json, "destinationFolder", fileURLText(*item.destinationFolder, FileURLKind::folder));
    if (item.error) writeMember(json, "error", readable(*item.error));
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

std::string encodeQueue(const QueueSnapshot& snapshot) {
    constexpr std::size_t typicalRecord = 520;
    SlashEscapingText text;
    text.reserve(snapshot.downloads.size() * typicalRecord + 256);
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
    writeKey(json, "isPaused");
    json.Bool(snapshot.isPaused);
    writeMember(json, "version", snapshot.version);
    json.EndObject();
    return text.take();
}

}  // namespace tovri
