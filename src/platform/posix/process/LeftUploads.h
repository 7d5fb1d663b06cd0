#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace tovri {

// How the names of the copies begin from which a process uploads.
[[nodiscard]] std::string uploadPrefixOf(pid_t process);

// Removes such copies of the user's that processes left in the folder which are no more. Blocks.
void removeLeftUploads(const std::filesystem::path& folder);

}  // namespace tovri
