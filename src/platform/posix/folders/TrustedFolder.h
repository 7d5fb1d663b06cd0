#pragma once

#include <filesystem>
#include <string_view>

#include <sys/types.h>

#include "base/Result.h"
#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

// Folders that are reached on a way that nobody else can turn. Every link on it was made by the user, or by root, in a
// folder that is not writable for others: whoever can put a link where a file of a shared folder is about to go would
// say where it goes. The way is gone from one open folder to the next, so what was looked at is what is used, whatever
// becomes of the names meanwhile. What is opened is good for finding what is in it (open(2), O_PATH); a failure begins
// with the action.
[[nodiscard]] Result<FileDescriptor> openTrustedFolder(std::string_view action, const std::filesystem::path& path);

// What is missing of it is made, and noted with `made`.
[[nodiscard]] Result<FileDescriptor> makeTrustedFolder(std::string_view action, const std::filesystem::path& path,
                                                       mode_t mode, NewFolders& made);

// A path to an entry of the open folder, wherever its name has gone; an empty name stands for the folder itself.
[[nodiscard]] std::filesystem::path entryOf(const FileDescriptor& folder, const std::filesystem::path& name);

}  // namespace tovri
