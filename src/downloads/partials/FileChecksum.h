#pragma once

#include <filesystem>

#include "base/Result.h"
#include "downloads/partials/Checksum.h"
#include "platform/FileManager.h"

namespace tovri {

// Of all that the file holds now, read a mebibyte at a time on the caller's thread.
[[nodiscard]] Result<Checksum> readChecksum(FileManager& files, const std::filesystem::path& path);

}  // namespace tovri
