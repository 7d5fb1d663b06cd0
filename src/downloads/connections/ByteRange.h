#pragma once

#include "base/Bytes.h"

namespace tovri {

// Bytes of a file: from `first` up to the one before `end`.
struct ByteRange {
    ByteCount first = 0;
    ByteCount end = 0;

    [[nodiscard]] ByteCount length() const { return end - first; }

    bool operator==(const ByteRange&) const = default;
};

}  // namespace tovri
