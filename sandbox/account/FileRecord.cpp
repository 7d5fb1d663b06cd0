#include "sandbox/account/FileRecord.h"

#include <fmt/format.h>

#include "sandbox/account/ContentTypes.h"

namespace tovri::sandbox {

void writeFileRecord(JsonWriter& json, const File& file, std::optional<std::uint32_t> crc32) {
    const std::string_view type = file.isFolder ? "FOLDER" : fileTypeForContentType(file.contentType);
    const bool isVideo = type == "VIDEO";
    json.beginObject().field("id", file.id).field("name", file.name).field("size", file.size);
    if (file.id == rootID) {
        json.nullField("parent_id");
    } else {
        json.field("parent_id", file.parentID);
    }
    json.field("content_type", file.contentType)
        .field("file_type", type)
        .field("created_at", serviceTime(file.createdAt))
        .field("updated_at", serviceTime(file.updatedAt))
        .nullField("icon")
        .nullField("screenshot");
    if (isVideo) {
        json.field("opensubtitles_hash", fmt::format("{:016x}", file.contentSeed));
    } else {
        json.nullField("opensubtitles_hash");
    }
    json.key("crc32");
    if (crc32 && !file.isFolder) {
        json.value(fmt::format("{:08x}", *crc32));
    } else {
        json.null();
    }
    json.field("is_mp4_available", isVideo && file.contentType == "video/mp4").field("is_shared", false).endObject();
}

}  // namespace tovri::sandbox
