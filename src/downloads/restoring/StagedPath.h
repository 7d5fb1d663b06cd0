#pragma once

#include <filesystem>
#include <string_view>

namespace tovri {

// Whether the path names an entry directly in the staging folder, as our own paths do: an absolute path without "." and
// "..", repeated slashes or a slash at its end.
[[nodiscard]] bool isStagedPath(std::string_view path, const std::filesystem::path& stagingFolder);

}  // namespace tovri
