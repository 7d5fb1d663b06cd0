#include "downloads/holding/DestinationFacts.h"

namespace tovri {

std::string volumeName(const std::filesystem::path& mountPoint) {
    return mountPoint.has_filename() ? mountPoint.filename().native() : mountPoint.native();
}

std::string DestinationFacts::volumeName() const {
    return tovri::volumeName(mountPoint);
}

Result<DestinationFacts> lookAtDestination(FileManager& files, const std::filesystem::path& folder) {
    Result<Volume> volume = files.volume(folder);
    if (!volume) return failure(volume);
    DestinationFacts facts{.volume = std::move(*volume), .mountPoint = {}};
    facts.mountPoint = facts.volume.folder;
    while (facts.mountPoint.has_relative_path()) {
        const std::filesystem::path above = facts.mountPoint.parent_path();
        const auto identity = files.identity(above);
        if (!identity || identity->volume != facts.volume.number) break;
        facts.mountPoint = above;
    }
    return facts;
}

}  // namespace tovri
