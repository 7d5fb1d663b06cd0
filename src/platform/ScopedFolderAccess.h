#pragma once

#include "platform/FolderAccess.h"

namespace tovri {

// Access to the folder of a bookmark for the length of one file step, never across a wait. Without a bookmark, or with
// one that does not resolve, the step runs without.
class ScopedFolderAccess {
public:
    // `access` outlives this; `bookmark` may be null.
    ScopedFolderAccess(FolderAccess& access, const ByteBlob* bookmark) : access_(access) {
        if (!bookmark) return;
        folder_ = access.resolve(*bookmark);
        if (folder_ && !access.startAccess(folder_->folder)) folder_.reset();
    }

    ScopedFolderAccess(const ScopedFolderAccess&) = delete;
    ScopedFolderAccess& operator=(const ScopedFolderAccess&) = delete;

    ~ScopedFolderAccess() {
        if (folder_) access_.stopAccess(folder_->folder);
    }

private:
    FolderAccess& access_;
    std::optional<FolderAccess::ResolvedBookmark> folder_;
};

}  // namespace tovri
