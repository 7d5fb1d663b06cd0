#pragma once

#include "base/Identifier.h"

namespace tovri {

// Names an entry of the account, whether file or folder: to put.io a folder is a file. What takes a FileID takes both.
using FileID = Identifier<struct FileKind>;

// Names an entry that is known to be a folder.
using FolderID = Identifier<struct FolderKind>;

// The one that holds everything else.
inline constexpr FolderID rootFolderID{0};

// The folder that the entry is; only of one.
[[nodiscard]] constexpr FolderID folderOf(FileID entry) {
    return FolderID(entry.number);
}

// The folder as an entry among others.
[[nodiscard]] constexpr FileID fileOf(FolderID folder) {
    return FileID(folder.number);
}

}  // namespace tovri
