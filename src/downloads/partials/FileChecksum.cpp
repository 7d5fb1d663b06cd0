#include "downloads/partials/FileChecksum.h"

namespace tovri {

Result<Checksum> readChecksum(FileManager& files, const std::filesystem::path& path) {
    constexpr std::size_t step = std::size_t{1} << 20U;
    auto file = files.openForReading(path);
    if (!file) return failure(file);
    Checksum checksum;
    while (true) {
        Result<ByteBlob> bytes = (*file)->read(step);
        if (!bytes) return failure(bytes);
        if (bytes->empty()) return checksum;
        checksum.add(*bytes);
    }
}

}  // namespace tovri
