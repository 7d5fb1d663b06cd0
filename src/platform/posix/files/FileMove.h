#pragma once

#include <filesystem>
#include <functional>
#include <stop_token>

#include <sys/stat.h>

#include "base/Result.h"
#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/files/NewFile.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

// A file on its way from one name to another, perhaps on another volume, where it arrives whole and durable before its
// old name goes.
class FileMove {
public:
    // A name in an open folder, and the path by which the user knows it.
    struct Place {
        FileDescriptor folder;
        std::filesystem::path path;
    };

    // `folders` outlives this.
    FileMove(std::filesystem::path from, Place to, NewFolders& folders, std::stop_token stop);

    // As FileManager::moveItem and replaceItem.
    [[nodiscard]] Result<void> whereNothingStands();
    [[nodiscard]] Result<void> over();

private:
    enum class Target { free, replaced };

    [[nodiscard]] Result<void> betweenVolumes(Target target);
    [[nodiscard]] Result<NewFile> durableCopy();
    [[nodiscard]] Error asKnown(Error error) const;
    void removeOriginal();
    [[nodiscard]] Result<void> overFolder(const struct stat& folder);
    [[nodiscard]] int makingWay(const std::function<int()>& place);

    std::filesystem::path from_;
    FileDescriptor folder_;
    std::filesystem::path path_;
    std::filesystem::path at_;  // the same place, by the open folder
    NewFolders& folders_;
    std::stop_token stop_;
};

}  // namespace tovri
