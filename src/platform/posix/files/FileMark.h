#pragma once

#include <filesystem>
#include <string>

#include "base/Result.h"

namespace tovri {

// The mark of a file: an extended attribute. A link has none.

// Empty where there is none.
[[nodiscard]] std::string fileMark(const std::filesystem::path& file);

// An empty one removes it. Succeeds without doing anything where the file system has no such attributes, or the file is
// not ours to give one.
[[nodiscard]] Result<void> setFileMark(const std::filesystem::path& file, const std::string& mark);

// The same for an open file: 0 or an errno value.
[[nodiscard]] int setFileMark(int file, const std::string& mark);

}  // namespace tovri
