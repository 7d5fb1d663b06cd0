#pragma once

#include "base/Bytes.h"
#include "downloads/partials/Checksum.h"

namespace tovri {

// The checksum of bytes with checksum `first`, followed by `length` bytes with checksum `second`. Takes as long for any
// length.
[[nodiscard]] Checksum combined(Checksum first, Checksum second, ByteCount length);

}  // namespace tovri
