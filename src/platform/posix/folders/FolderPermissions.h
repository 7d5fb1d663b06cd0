#pragma once

#include <filesystem>

#include "base/Result.h"

namespace tovri {

// Gives a file of ours the mode, the group and the access list that one made in the folder now would get by umask,
// setgid and default list. What the file's volume does not know is left out; where the group may not be given away, the
// file's own group gets no more than everybody.
[[nodiscard]] Result<void> adoptFolderPermissions(int file, const std::filesystem::path& folder);

}  // namespace tovri
