#pragma once

#include <filesystem>
#include <map>
#include <mutex>

#include <sys/types.h>

namespace tovri {

// Makes folders, and remembers which of their names may not have reached the disk yet. All operations return 0 or an
// errno value. Any thread.
class NewFolders {
public:
    // With all missing parents; an existing folder is fine. The user's umask takes from the mode.
    [[nodiscard]] int make(const std::filesystem::path& folder, mode_t mode);

    // The folder was made by somebody else.
    void noteMade(const std::filesystem::path& folder);

    // Returns when the path's name in its folder, and the folders above it that are new, would survive a loss of power.
    [[nodiscard]] int makeNameDurable(const std::filesystem::path& path);

    // Returns when the folder's entries, and its name and those of the folders above it on the same volume, would
    // survive a loss of power, whoever made them.
    [[nodiscard]] static int makeEntriesDurable(std::filesystem::path folder);

private:
    std::mutex mutex_;
    std::map<std::filesystem::path, int> unsynced_;  // by folder: how many were made in it until it was synced
};

// The folder that holds the path's entry.
[[nodiscard]] std::filesystem::path parentOf(const std::filesystem::path& path);

}  // namespace tovri
