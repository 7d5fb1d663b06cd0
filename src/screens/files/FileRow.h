#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/UUID.h"
#include "screens/RowButton.h"
#include "screens/Tint.h"
#include "screens/files/FileBrowserState.h"

namespace tovri {

enum class FileRowAction : std::uint8_t { cancelUpload };

// What a row of the file browser shows.
struct FileRow {
    enum class Kind : std::uint8_t { upload, folder, file };

    Kind kind = Kind::file;
    FileID fileID;                // of a folder or file
    UUID uploadID;                // of an upload
    std::string_view symbol;      // empty with an upload, whose sign turns
    Tint tint = Tint::secondary;  // of the symbol
    std::string name;
    std::string caption;
    std::string_view trailingSymbol;  // in the tertiary tint, or empty
    std::optional<RowButton<FileRowAction>> button;
};

[[nodiscard]] FileRow fileRow(const PutIOFile& file);
[[nodiscard]] FileRow fileRow(const PendingUpload& upload);

}  // namespace tovri
