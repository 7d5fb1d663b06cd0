#pragma once

#include <filesystem>
#include <optional>

#include "base/Bytes.h"
#include "platform/WallClock.h"

namespace tovri {

// What a person is told of something that stands in a folder.
struct EntryFacts {
    std::optional<ByteCount> size;  // of a regular file
    Timestamp modified;             // when its content was last written
    bool isFolder = false;

    bool operator==(const EntryFacts&) const = default;
};

// Looks at what stands in folders, for people alone: a date can be set to anything, so nothing is decided by it.
class EntryLook {
public:
    virtual ~EntryLook() = default;

    // Of the entry itself, wherever a link leads; none when nothing can be seen there. Blocks; any thread.
    [[nodiscard]] virtual std::optional<EntryFacts> look(const std::filesystem::path& path) = 0;
};

}  // namespace tovri
