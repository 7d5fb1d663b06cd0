#pragma once

#include <cstddef>
#include <string_view>

#include "base/Bytes.h"
#include "base/Result.h"

namespace tovri {

// An open file that takes bytes at any place, and gives them back. Owned by whoever fills it; closing it leaves the
// file where it is. Every operation but size() blocks. One thread at a time.
class WritableFile {
public:
    virtual ~WritableFile() = default;

    // What lies between the end of the file and an `offset` beyond it reads as zeros. After a failure any number of the
    // bytes may stand there. The system is asked to write to the disk on the way, so that synchronizing finds little to
    // do.
    [[nodiscard]] virtual Result<void> writeAt(ByteCount offset, std::string_view bytes) = 0;

    // Up to `limit` bytes; fewer only at the end of the file.
    [[nodiscard]] virtual Result<ByteBlob> readAt(ByteCount offset, std::size_t limit) = 0;

    // Keeps room on the volume for the first `length` bytes, so that writing them does not fill it. False where the
    // volume cannot do that. Neither size() nor what reads find changes. Cutting the file gives the room back.
    [[nodiscard]] virtual Result<bool> allocate(ByteCount length) = 0;

    // Returns when every byte written so far would survive a loss of power. A new file's name may not.
    [[nodiscard]] virtual Result<void> synchronize() = 0;

    // Where the last byte ends that was ever written.
    [[nodiscard]] virtual ByteCount size() const = 0;
};

}  // namespace tovri
