#pragma once

#include "platform/FolderAccess.h"

namespace tovri {

// Folder access where no sandbox exists: a bookmark is the bytes of the folder's path, and access is always granted.
class PathFolderAccess final : public FolderAccess {
public:
    [[nodiscard]] Result<ByteBlob> makeBookmark(const std::filesystem::path& folder) override;

    // None for what is no absolute path. Does not look whether the folder is there.
    [[nodiscard]] std::optional<ResolvedBookmark> resolve(const ByteBlob& bookmark) override;

    [[nodiscard]] bool startAccess(const std::filesystem::path& /*folder*/) override { return true; }

    void stopAccess(const std::filesystem::path& /*folder*/) override {}
};

}  // namespace tovri
