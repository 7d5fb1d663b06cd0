#pragma once

#include <filesystem>
#include <string_view>

#include <sys/stat.h>

#include "base/Result.h"
#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// An open regular file, and what was known of it when it was opened.
struct RegularFile {
    FileDescriptor file;
    struct stat status{};
};

// Opens a regular file, and nothing that would block or do something by being opened: a pipe or a device is refused in
// a sentence with the action. `flags` as for open(2); a file that they create is for its owner alone.
[[nodiscard]] Result<RegularFile> openRegularFile(std::string_view action, const std::filesystem::path& path,
                                                  int flags);

}  // namespace tovri
