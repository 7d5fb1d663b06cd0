#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/UUID.h"
#include "screens/RowButton.h"
#include "screens/Tint.h"
#include "screens/files/FileBrowserState.h"

namespace tovri {

enum class FileRowAction : std::uint8_t { cancelUpload, retryUpload, dismissUpload };

// An upload into the folder on view, under way or failed.
struct UploadEntry {
    PendingUpload upload;
    SentBytes sent = {};
    std::optional<std::string> failure = {};  // why it did not arrive

    bool operator==(const UploadEntry&) const = default;
};

// What a row of the file browser shows.
struct FileRow {
    enum class Kind : std::uint8_t { upload, folder, file };

    Kind kind = Kind::file;
    FileID fileID;                // of a folder or file
    UUID uploadID;                // of an upload
    std::string_view symbol;      // empty with an upload under way, whose sign turns
    Tint tint = Tint::secondary;  // of the symbol
    std::string name;
    std::string caption;
    std::string detail;  // after the caption, or empty
    Tint captionTint = Tint::secondary;
    std::string_view trailingSymbol;  // in the tertiary tint, or empty
    std::vector<RowButton<FileRowAction>> buttons;
};

[[nodiscard]] FileRow fileRow(const PutIOFile& file);
[[nodiscard]] FileRow fileRow(const UploadEntry& entry);

}  // namespace tovri
