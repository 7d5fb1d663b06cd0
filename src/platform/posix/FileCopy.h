#pragma once

#include <stop_token>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// These return 0 or an errno value.

// Makes the empty file `to` hold what `from` holds, sharing its blocks where the volume can, else byte by byte. Looks
// at `stop` every few MiB; ECANCELED when it was requested.
[[nodiscard]] int copyContent(int from, int to, ByteCount size, const std::stop_token& stop);

[[nodiscard]] int writeAll(int descriptor, std::string_view bytes);

}  // namespace tovri
