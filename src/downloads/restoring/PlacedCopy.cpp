#include "downloads/restoring/PlacedCopy.h"

namespace tovri {
namespace {

std::optional<Checksum> readChecksum(FileManager& files, const std::filesystem::path& path) {
    constexpr std::size_t step = std::size_t{1} << 20U;
    const auto file = files.openForReading(path);
    if (!file) return std::nullopt;
    Checksum checksum;
    while (true) {
        const Result<ByteBlob> bytes = (*file)->read(step);
        if (!bytes) return std::nullopt;
        if (bytes->empty()) return checksum;
        checksum.add(*bytes);
    }
}

}  // namespace

PlacedCopy PlacedCopy::of(const DownloadRecord& item) {
    return {.path = *item.resolvedURL, .size = item.bytesDownloaded, .checksum = checksumOf(item)};
}

std::optional<Checksum> PlacedCopy::checksumOf(const DownloadRecord& item) {
    const auto& digits = item.arrivedChecksum ? item.arrivedChecksum : item.crc32;
    return digits ? Checksum::parse(*digits) : std::nullopt;
}

bool PlacedCopy::isWhole(FileManager& files) const {
    if (files.fileSize(path) != size) return false;
    return !checksum || readChecksum(files, path) == checksum;
}

}  // namespace tovri
