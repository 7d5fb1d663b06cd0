#pragma once

#include <filesystem>
#include <optional>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

// A sandboxed platform grants access to a folder that the user chose through a bookmark, and only between start and
// stop. Where no sandbox exists, a bookmark is the folder's path and access is always granted.
class FolderAccess {
public:
    struct ResolvedBookmark {
        std::filesystem::path folder;
        bool isStale = false;  // still good, but to be made anew
    };

    virtual ~FolderAccess() = default;

    [[nodiscard]] virtual Result<ByteBlob> makeBookmark(const std::filesystem::path& folder) = 0;
    [[nodiscard]] virtual std::optional<ResolvedBookmark> resolve(const ByteBlob& bookmark) = 0;

    // True when access was granted and must be ended with stopAccess. Any thread.
    [[nodiscard]] virtual bool startAccess(const std::filesystem::path& folder) = 0;
    virtual void stopAccess(const std::filesystem::path& folder) = 0;
};

}  // namespace tovri
