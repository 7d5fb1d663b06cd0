#include <unordered_map>

#include <simdjson.h>

#include "base/FileURL.h"
#include "downloads/saving/QueueSnapshot.h"
#include "downloads/saving/SavedValues.h"

namespace tovri {
namespace {

using namespace saved;

std::string readPath(json::value& value, std::string_view key) {
    const auto path = parseFileURL(readText(value, key));
    if (!path) reject(key, "a file URL");
    return path->native();
}

// Reads records one by one; folders and bookmarks that many records share are kept once.
class RecordReader {
public:
    DownloadRecord read(json::object object) {
        DownloadRecord item;
        readMembers(
            object, "an item", requiredKeys,
            [&](std::string_view key, json::value& value) { readRequired(item, key, value); },
            [&](std::string_view key, json::value& value) { readOptional(item, key, value); });
        return item;
    }

private:
    static constexpr std::array<std::string_view, 9> requiredKeys = {"bytesDownloaded",
                                                                     "deleteAfterDownload",
                                                                     "destinationFolder",
                                                                     "fileID",
                                                                     "fileName",
                                                                     "fileSize",
                                                                     "id",
                                                                     "progress",
                                                                     "status"};

    void readRequired(DownloadRecord& item, std::string_view key, json::value& value) {
        if (key == "bytesDownloaded")
            item.bytesDownloaded = readInteger(value, key);
        else if (key == "deleteAfterDownload")
            item.deleteAfterDownload = readFlag(value, key);
        else if (key == "destinationFolder")
            item.destinationFolder = folder(readText(value, key));
        else if (key == "fileID")
            item.fileID = readInteger(value, key);
        else if (key == "fileName")
            item.fileName = readText(value, key);
        else if (key == "fileSize")
            item.fileSize = readInteger(value, key);
        else if (key == "id")
            item.id = readUUID(value, key);
        else if (key == "progress")
            item.progress = saved::read<double>(value, key, "a number");
        else
            item.status = status(readText(value, key));
    }

    void readOptional(DownloadRecord& item, std::string_view key, json::value& value) {
        if (key == "completedAt")
            item.completedAt = readDate(value, key);
        else if (key == "error")
            item.error = std::string(readText(value, key));
        else if (key == "folderDeleteID")
            item.folderDeleteID = readInteger(value, key);
        else if (key == "folderGroupID")
            item.folderGroupID = readUUID(value, key);
        else if (key == "resolvedURL")
            item.resolvedURL = readPath(value, key);
        else if (key == "resumeData")
            item.resumeData = readBlob(value, key);
        else if (key == "securityScopeBookmark")
            item.securityScopeBookmark = bookmark(readBlob(value, key));
        else if (key == "stagedURL")
            item.stagedURL = readPath(value, key);
        else if (key == "startedAt")
            item.startedAt = readDate(value, key);
        else if (key == "syncRuleID")
            item.syncRuleID = readUUID(value, key);
    }

    static Download::Status status(std::string_view text) {
        const auto known = downloadStatus(text);
        if (!known) reject("status", "a known status");
        return *known;
    }

    SharedFolder folder(std::string_view url) {
        SharedFolder& shared = folders_[std::string(url)];
        if (!shared) {
            auto path = parseFileURL(url);
            if (!path) reject("destinationFolder", "a file URL");
            shared = std::make_shared<const std::filesystem::path>(std::move(*path));
        }
        return shared;
    }

    std::shared_ptr<const ByteBlob> bookmark(ByteBlob bytes) {
        auto& shared = bookmarks_[bytes];
        if (!shared) shared = std::make_shared<const ByteBlob>(std::move(bytes));
        return shared;
    }

    std::unordered_map<std::string, SharedFolder> folders_;
    std::unordered_map<ByteBlob, std::shared_ptr<const ByteBlob>> bookmarks_;
};

QueueSnapshot readSnapshot(json::object object) {
    QueueSnapshot snapshot;
    bool hasVersion = false;
    bool hasPaused = false;
    bool hasDownloads = false;
    bool hasCounts = false;
    for (auto field : object) {
        const std::string_view key = field.unescaped_key();
        json::value value = field.value();
        if (key == "version") {
            snapshot.version = readInteger(value, key);
            hasVersion = true;
        } else if (key == "isPaused") {
            snapshot.isPaused = readFlag(value, key);
            hasPaused = true;
        } else if (key == "downloads") {
            RecordReader reader;
            auto items = read<json::array>(value, key, "an array");
            snapshot.downloads.reserve(items.count_elements());
            for (auto item : items) snapshot.downloads.push_back(reader.read(item.get_object()));
            hasDownloads = true;
        } else if (key == "folderGroupExpectedCounts") {
            for (auto group : read<json::object>(value, key, "an object")) {
                const std::string name(std::string_view(group.unescaped_key()));
                json::value count = group.value();
                snapshot.folderGroupExpectedCounts[name] = readInteger(count, name);
            }
            hasCounts = true;
        }
    }
    if (!(hasVersion && hasPaused && hasDownloads && hasCounts)) throw Unreadable{"a required key is missing"};
    return snapshot;
}

}  // namespace

Result<QueueSnapshot> decodeQueue(ByteBlob text) {
    return decode<QueueSnapshot>(std::move(text), "queue file",
                                 [](json::document& document) { return readSnapshot(document.get_object()); });
}

}  // namespace tovri
