#include "platform/posix/folders/PathFolderAccess.h"

#include <cerrno>

#include "platform/posix/files/FileError.h"

namespace tovri {
namespace {

bool isFolder(const std::filesystem::path& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

}  // namespace

Result<ByteBlob> PathFolderAccess::makeBookmark(const std::filesystem::path& folder) {
    if (!folder.is_absolute() || !isFolder(folder)) return failure(fileError("remember the folder", folder, ENOENT));
    return folder.native();
}

// On the main thread, so without a look at the volume, which may hang. Whether the folder is there shows when something
// is to go there.
std::optional<FolderAccess::ResolvedBookmark> PathFolderAccess::resolve(const ByteBlob& bookmark) {
    const std::filesystem::path folder(bookmark);
    if (!folder.is_absolute()) return std::nullopt;
    return ResolvedBookmark{folder, false};
}

}  // namespace tovri
