#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// How the names of the copies begin from which a process uploads.
[[nodiscard]] std::string uploadPrefixOf(pid_t process);

// Holds a new file for as long as it is open, so that nobody takes it for left. False when it has been taken for that
// already, and is gone.
[[nodiscard]] bool holdNewFile(const FileDescriptor& file);

// Removes such copies of the user's in the folder as no process holds, on this machine and in whatever container.
// Blocks.
void removeLeftUploads(const std::filesystem::path& folder);

}  // namespace tovri
