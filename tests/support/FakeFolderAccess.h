#pragma once

#include <map>
#include <string>

#include "platform/FolderAccess.h"

namespace tovri::test {

// A sandboxed platform whose bookmarks are "bookmark N of FOLDER". Any folder can be bookmarked and accessed until a
// test says otherwise.
class FakeFolderAccess final : public FolderAccess {
public:
    [[nodiscard]] Result<ByteBlob> makeBookmark(const std::filesystem::path& folder) override {
        if (refusesBookmarks) return failure({ErrorCase::file, "A bookmark cannot be made here."});
        ByteBlob bookmark = "bookmark " + std::to_string(++made_) + " of " + folder.string();
        bookmarks[bookmark] = {folder, false};
        return bookmark;
    }

    [[nodiscard]] std::optional<ResolvedBookmark> resolve(const ByteBlob& bookmark) override {
        const auto found = bookmarks.find(bookmark);
        return found == bookmarks.end() ? std::nullopt : std::optional(found->second);
    }

    [[nodiscard]] bool startAccess(const std::filesystem::path& folder) override {
        ++starts;
        if (!grantsAccess) return false;
        ++open[folder];
        return true;
    }

    void stopAccess(const std::filesystem::path& folder) override {
        if (--open[folder] == 0) open.erase(folder);
    }

    std::map<ByteBlob, ResolvedBookmark> bookmarks;  // erase one, move it or make it stale at will
    std::map<std::filesystem::path, int> open;       // accesses under way; empty when each was stopped
    int starts = 0;
    bool grantsAccess = true;
    bool refusesBookmarks = false;

private:
    int made_ = 0;
};

}  // namespace tovri::test
