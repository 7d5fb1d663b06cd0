#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "base/Result.h"

namespace tovri {

// A path as text for people: what is not UTF-8 and what would break a line is shown as a question mark.
[[nodiscard]] std::string displayText(const std::filesystem::path& path);

// A failure of the file system in one sentence: `Cannot ACTION "PATH": REASON; WHAT TO DO.` `number` is an errno value;
// EEXIST gives alreadyExists, a disk without room diskFull.
[[nodiscard]] Error fileError(std::string_view action, const std::filesystem::path& path, int number);

// How a system call ended: success for 0, cancelled for ECANCELED, a fileError for every other errno value.
[[nodiscard]] Result<void> fileOutcome(int number, std::string_view action, const std::filesystem::path& path);

}  // namespace tovri
