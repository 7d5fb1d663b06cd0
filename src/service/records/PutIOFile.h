#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "service/records/FileID.h"
#include "service/records/JSONField.h"

namespace tovri {

// A file or folder in the user's put.io account, as the service describes it.
struct PutIOFile {
    enum class FileType { folder, file, audio, video, image, archive, pdf, text };

    FileID id;
    std::string name;  // data, not a path: any bytes that JSON can carry
    std::optional<ByteCount> size;
    std::optional<std::string> contentType;
    std::optional<FolderID> parentID;
    std::optional<std::string> createdAt;
    std::optional<std::string> updatedAt;
    std::optional<FileType> fileType;
    std::optional<std::string> icon;
    std::optional<std::string> screenshot;
    std::optional<std::string> opensubtitlesHash;
    std::optional<std::string> crc32;

    bool operator==(const PutIOFile&) const = default;

    [[nodiscard]] bool isFolder() const { return fileType == FileType::folder; }

    // "1.2 MB"; without a size "Empty" for a folder and "0 bytes" for anything else.
    [[nodiscard]] std::string displaySize() const;

    // The name of the symbol that stands for this kind of file.
    [[nodiscard]] std::string_view iconName() const;

    static constexpr auto jsonFields() {
        return jsonFieldList(
            JSONField{"id", &PutIOFile::id}, JSONField{"name", &PutIOFile::name}, JSONField{"size", &PutIOFile::size},
            JSONField{"content_type", &PutIOFile::contentType}, JSONField{"parent_id", &PutIOFile::parentID},
            JSONField{"created_at", &PutIOFile::createdAt}, JSONField{"updated_at", &PutIOFile::updatedAt},
            JSONField{"file_type", &PutIOFile::fileType}, JSONField{"icon", &PutIOFile::icon},
            JSONField{"screenshot", &PutIOFile::screenshot},
            JSONField{"opensubtitles_hash", &PutIOFile::opensubtitlesHash}, JSONField{"crc32", &PutIOFile::crc32});
    }
};

// "FOLDER"; the service's word for the type.
[[nodiscard]] std::string_view rawValue(PutIOFile::FileType type);

// Any mixture of cases; a word that is not known means `file`.
[[nodiscard]] PutIOFile::FileType fileTypeOf(std::string_view rawValue);

}  // namespace tovri

template <>
struct std::hash<tovri::PutIOFile> {
    std::size_t operator()(const tovri::PutIOFile& file) const noexcept;
};
