#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>

#include "base/Result.h"
#include "platform/FileManager.h"

namespace tovri {

// What a folder that is to receive a file says about its volume.
struct DestinationFacts {
    Volume volume;
    std::filesystem::path mountPoint;                 // the uppermost folder of the volume
    std::map<std::uint64_t, ByteCount> claimed = {};  // what each claim needed when this was asked for
    std::uint64_t claimsEnded = 0;                    // how many had ended when this was asked for
    bool isOurs = false;                              // the file asked about would be in Tovri's own data, or above it

    // What a user calls the volume: the name of its mount point.
    [[nodiscard]] std::string volumeName() const;
};

// The folder need not exist. Blocks; any thread.
[[nodiscard]] Result<DestinationFacts> lookAtDestination(FileManager& files, const std::filesystem::path& folder);

// Likewise, for a mount point by itself.
[[nodiscard]] std::string volumeName(const std::filesystem::path& mountPoint);

}  // namespace tovri
