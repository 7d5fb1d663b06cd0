#pragma once

#include <filesystem>
#include <vector>

#include "base/Result.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

// Files on their way to the disk together.
class FileSync {
public:
    // `folders` outlives this.
    FileSync(std::vector<std::filesystem::path> paths, NewFolders& folders);

    // As FileManager::makeAllDurable.
    [[nodiscard]] std::vector<Result<void>> perform();

private:
    void syncTogether(const std::vector<std::size_t>& places);
    void syncEach(const std::vector<std::size_t>& places);
    void syncFolders(const std::vector<std::size_t>& places);

    std::vector<std::filesystem::path> paths_;
    NewFolders& folders_;
    std::vector<Result<void>> outcomes_;
};

}  // namespace tovri
