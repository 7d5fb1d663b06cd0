#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>
#include <utility>

#include <sys/stat.h>

#include "base/Result.h"
#include "platform/posix/files/NewFile.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

// A file on its way from one name to another, perhaps on another volume, where it arrives whole and durable before its
// old name goes.
class FileMove {
public:
    // `folders` outlives this.
    FileMove(std::filesystem::path from, std::filesystem::path to, NewFolders& folders, std::stop_token stop)
        : from_(std::move(from)), to_(std::move(to)), folders_(folders), stop_(std::move(stop)) {}

    // As FileManager::moveItem and replaceItem.
    [[nodiscard]] Result<void> whereNothingStands();
    [[nodiscard]] Result<void> over();

private:
    enum class Target { free, replaced };

    [[nodiscard]] Result<void> betweenVolumes(Target target);
    [[nodiscard]] Result<NewFile> durableCopy();
    void removeOriginal();
    [[nodiscard]] Result<void> overFolder(const struct stat& folder);
    [[nodiscard]] int makingWay(const std::function<int()>& place);

    std::filesystem::path from_;
    std::filesystem::path to_;
    NewFolders& folders_;
    std::stop_token stop_;
};

}  // namespace tovri
