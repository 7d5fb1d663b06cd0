#include "sandbox/api/FilesApi.h"

#include <algorithm>

#include <fmt/format.h>

#include "sandbox/account/FileRecord.h"
#include "sandbox/api/Answers.h"

namespace tovri::sandbox {

std::optional<HttpResponse> FilesApi::answer(const ApiCall& call) {
    if (call.isGet("/files/list")) return list(call);
    if (call.isPost("/files/list/continue")) return continueList(call);
    if (call.isPost("/files/delete")) return remove(call);
    if (call.isPost("/files/move")) return move(call);
    if (const auto id = fileOfPath(call.path); id && call.method == "GET") return record(call, *id);
    if (const auto id = fileOfLinkPath(call.path); id && call.method == "GET") return link(*id);
    return std::nullopt;
}

std::optional<std::uint32_t> FilesApi::shownCRC32(const File& file) {
    if (file.isFolder || static_cast<std::uint64_t>(file.size) > settings_.crcLimit) return std::nullopt;
    return account_.crc32(file.id);
}

std::optional<FileID> FilesApi::fileOfLinkPath(std::string_view path) {
    constexpr std::string_view prefix = "/files/";
    constexpr std::string_view suffix = "/url";
    if (!path.starts_with(prefix) || !path.ends_with(suffix)) return std::nullopt;
    path.remove_prefix(prefix.size());
    path.remove_suffix(std::min(path.size(), suffix.size()));
    return parseID(path);
}

std::optional<FileID> FilesApi::fileOfPath(std::string_view path) {
    constexpr std::string_view prefix = "/files/";
    return path.starts_with(prefix) ? parseID(path.substr(prefix.size())) : std::nullopt;
}

void FilesApi::writeRecord(JsonWriter& json, File file, const ApiCall& call) {
    const auto crc32 = shownCRC32(file);
    if (call.listedSize && !file.isFolder) file.size = static_cast<std::int64_t>(*call.listedSize);
    writeFileRecord(json, file, crc32);
}

HttpResponse FilesApi::record(const ApiCall& call, FileID id) {
    const std::optional<File> file = account_.find(id);
    if (!file) return notFoundAnswer();
    JsonWriter json;
    json.beginObject().key("file");
    writeRecord(json, *file, call);
    return jsonAnswer(json.field("status", "OK").endObject());
}

HttpResponse FilesApi::list(const ApiCall& call) {
    return listFrom(call, call.number("parent_id").value_or(rootID), 0);
}

// A cursor is "FOLDER-POSITION", a stale one "stale-POSITION"; clients must not look into it.
HttpResponse FilesApi::continueList(const ApiCall& call) {
    const std::string_view cursor = call.text("cursor");
    const std::size_t dash = cursor.find('-');
    if (dash == std::string_view::npos) return errorAnswer(400, "BadRequest", "The cursor is missing or not valid.");
    const auto folderID = parseID(cursor.substr(0, dash));
    const auto position = parseID(cursor.substr(dash + 1));
    if (!folderID || !position || *position < 0) return errorAnswer(400, "BadRequest", "The cursor is not valid.");
    return listFrom(call, *folderID, static_cast<std::size_t>(*position));
}

HttpResponse FilesApi::listFrom(const ApiCall& call, FileID folderID, std::size_t from) {
    const std::optional<File> folder = account_.find(folderID);
    if (!folder) return notFoundAnswer();
    if (!folder->isFolder) return errorAnswer(400, "NotAFolder", "Only a folder can be listed.");
    const auto wanted =
        static_cast<std::size_t>(std::max<std::int64_t>(call.number("per_page").value_or(INT64_MAX), 1));
    const std::size_t count = std::min(wanted, settings_.pageSize);
    const std::vector<File> files = account_.children(folderID, from, count);
    const std::size_t total = account_.childCount(folderID);

    JsonWriter json;
    json.beginObject().key("files").beginArray();
    for (const File& file : files) writeRecord(json, file, call);
    json.endArray();
    if (from == 0) {
        json.key("parent");
        writeFileRecord(json, *folder, std::nullopt);
    }
    if (from + files.size() < total) {
        const std::string place = call.staleCursor ? "stale" : std::to_string(folderID);
        json.field("cursor", fmt::format("{}-{}", place, from + files.size()));
    } else {
        json.nullField("cursor");
    }
    return jsonAnswer(json.field("total", total).field("status", "OK").endObject());
}

HttpResponse FilesApi::link(FileID id) {
    const std::optional<File> file = account_.find(id);
    if (!file) return notFoundAnswer();
    if (file->isFolder) return errorAnswer(400, "BadRequest", "A folder has no link of its own.");
    return jsonAnswer(JsonWriter().beginObject().field("url", linkTo(*file)).field("status", "OK").endObject());
}

std::string FilesApi::linkTo(const File& file) {
    if (settings_.storageURL.empty())
        return fmt::format("{}/download/{}?link={}", storageURL_, file.id, links_.issue());
    std::string url = settings_.storageURL;
    for (const std::string& name : account_.namesTo(file.id)) url += "/" + percentEncode(name);
    return url;
}

HttpResponse FilesApi::remove(const ApiCall& call) {
    const std::vector<FileID> ids = call.numbers("file_ids");
    if (ids.empty()) return errorAnswer(400, "BadRequest", "file_ids is missing.");
    const auto removed = std::ranges::count_if(ids, [&](FileID id) { return account_.remove(id); });
    return removed == 0 ? notFoundAnswer() : okAnswer();
}

HttpResponse FilesApi::move(const ApiCall& call) {
    const std::optional<FileID> target = call.number("parent_id");
    const std::vector<FileID> ids = call.numbers("file_ids");
    if (!target || ids.empty()) return errorAnswer(400, "BadRequest", "file_ids or parent_id is missing.");
    JsonWriter json;
    json.beginObject().key("errors").beginArray();
    for (const FileID id : ids) {
        if (account_.move(id, *target)) continue;
        json.beginObject()
            .field("id", id)
            .field("status_code", account_.find(id) ? 400 : 404)
            .field("error_type", account_.find(id) ? "BadRequest" : "NotFound")
            .endObject();
    }
    return jsonAnswer(json.endArray().field("status", "OK").endObject());
}

}  // namespace tovri::sandbox
