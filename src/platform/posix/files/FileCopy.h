#pragma once

#include <filesystem>
#include <stop_token>
#include <string_view>

#include "base/Bytes.h"
#include "base/Result.h"
#include "platform/posix/files/NewFile.h"

namespace tovri {

// A copy of the file for its owner alone, not yet under its name; `hidden` as for NewFile. A link is not followed, and
// only a regular file has a copy.
[[nodiscard]] Result<NewFile> copyOf(const std::filesystem::path& file, std::filesystem::path hidden,
                                     const std::stop_token& stop);

// These return 0 or an errno value.

// Makes the empty file `to` hold what `from` holds, sharing its blocks where the volume can, else byte by byte. Looks
// at `stop` every few MiB; ECANCELED when it was requested.
[[nodiscard]] int copyContent(int from, int to, ByteCount size, const std::stop_token& stop);

[[nodiscard]] int writeAll(int descriptor, std::string_view bytes);

}  // namespace tovri
