#pragma once

#include <filesystem>

#include "base/Result.h"

namespace tovri {

// Whether every link on the way to the path, which need not exist to its end, was made by the user, or by root, in a
// folder that is not writable for others: whoever can put a link where a file of a shared folder is about to go would
// say where it goes.
[[nodiscard]] Result<void> checkLinks(const std::filesystem::path& path);

}  // namespace tovri
