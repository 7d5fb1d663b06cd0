#pragma once

#include <filesystem>
#include <optional>

#include "downloads/list/Download.h"
#include "downloads/partials/Checksum.h"
#include "platform/FileManager.h"

namespace tovri {

// A file that was placed, as it must still be. Looking at it blocks; any thread.
struct PlacedCopy {
    std::filesystem::path path;
    ByteCount size = 0;                // of what arrived
    std::optional<Checksum> checksum;  // likewise, or else put.io's; none where neither is known

    // Of a completed item.
    [[nodiscard]] static PlacedCopy of(const DownloadRecord& item);
    [[nodiscard]] static std::optional<Checksum> checksumOf(const DownloadRecord& item);

    // Whether a file stands there that holds just these bytes.
    [[nodiscard]] bool isWhole(FileManager& files) const;
};

}  // namespace tovri
