#pragma once

#include <filesystem>
#include <string_view>

#include "base/Result.h"
#include "downloads/list/Download.h"

namespace tovri {

// Whether a name from the service can be one entry of a local folder. Names are data: one that is empty, ".", "..", or
// holds a slash or a NUL would lead somewhere else.
[[nodiscard]] bool isUsableName(std::string_view name);

// `folder` extended by a put.io folder's name. An unusable name becomes "..", which destination() refuses.
[[nodiscard]] std::filesystem::path subfolder(const std::filesystem::path& folder, std::string_view name);

// Where the item's file goes when nothing has its name. Fails with ErrorCase::file, saying what to do, when the name of
// the file or of one of its folders is unusable.
[[nodiscard]] Result<std::filesystem::path> destination(const Download& item);

// The name that is tried next when `path` is taken: "Report.pdf" becomes "Report (1).pdf" for number 1,
// "archive.tar.gz" becomes "archive.tar (1).gz", "README" becomes "README (1)".
[[nodiscard]] std::filesystem::path numberedDestination(const std::filesystem::path& path, int number);

}  // namespace tovri
