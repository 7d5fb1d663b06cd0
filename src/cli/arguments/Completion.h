#pragma once

#include <string>

namespace tovri::cli {

// Completion scripts for the two shells: commands, flags, fixed values and local paths.
[[nodiscard]] std::string bashCompletion();
[[nodiscard]] std::string zshCompletion();

}  // namespace tovri::cli
