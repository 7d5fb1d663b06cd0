#include "downloads/restoring/PlacedCopy.h"

#include "downloads/partials/FileChecksum.h"

namespace tovri {
PlacedCopy PlacedCopy::of(const DownloadRecord& item) {
    return {.path = *item.resolvedURL, .size = item.bytesDownloaded, .checksum = checksumOf(item)};
}

std::optional<Checksum> PlacedCopy::checksumOf(const DownloadRecord& item) {
    const auto& digits = item.arrivedChecksum ? item.arrivedChecksum : item.crc32;
    return digits ? Checksum::parse(*digits) : std::nullopt;
}

bool PlacedCopy::isWhole(FileManager& files) const {
    if (files.fileSize(path) != size) return false;
    if (!checksum) return true;
    const Result<Checksum> found = readChecksum(files, path);
    return found && *found == *checksum;
}

}  // namespace tovri
