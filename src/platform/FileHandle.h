#pragma once

#include <cstddef>
#include <string_view>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

// A file that is being read or written from its start to its end.
class FileHandle {
public:
    virtual ~FileHandle() = default;

    // Up to `limit` bytes; empty at the end of the file.
    [[nodiscard]] virtual Result<ByteBlob> read(std::size_t limit) = 0;
    [[nodiscard]] virtual Result<void> write(std::string_view bytes) = 0;
};

}  // namespace tovri
