#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

#include <sys/types.h>

#include "base/Result.h"

namespace tovri {

// Gives a file of ours the mode, the group and the access list that one made in the folder now would get by umask,
// setgid and default list. What the file's volume does not know is left out; where the group may not be given away, the
// file's own group gets no more than everybody.
[[nodiscard]] Result<void> adoptFolderPermissions(int file, const std::filesystem::path& folder);

// Does the same for many files, and makes an example in each folder only when something has changed that decides; the
// process keeps its umask. (Each file that is made and forgotten slows down those that ext4 makes in the next seconds.)
// Any thread.
class FolderExamples {
public:
    [[nodiscard]] Result<void> adoptPermissions(int file, const std::filesystem::path& folder);

    struct Permissions {
        mode_t mode = 0;
        gid_t group = 0;
        std::string list;  // acl(5), as the file system keeps it; empty where there is none
    };

private:
    using Deciding = std::tuple<dev_t, ino_t, mode_t, gid_t, std::string>;  // of the folder; last its default list

    [[nodiscard]] Result<Permissions> permissionsIn(const std::filesystem::path& folder);

    std::mutex mutex_;
    std::map<Deciding, Permissions> known_;
};

}  // namespace tovri
