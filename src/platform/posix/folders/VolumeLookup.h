#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/Result.h"
#include "platform/Volume.h"

namespace tovri {

// Where Linux says what is mounted and which file system has which UUID: proc(5), udev(7).
struct VolumeTables {
    std::filesystem::path mounts = "/proc/self/mountinfo";
    std::filesystem::path uuids = "/dev/disk/by-uuid";
};

// The volume of the nearest folder of the path that exists.
[[nodiscard]] Result<Volume> volumeOf(const std::filesystem::path& path, const VolumeTables& tables = {});

// Where the volume with this identity is mounted. Asks no volume that might not answer.
[[nodiscard]] std::vector<std::filesystem::path> mountPointsOf(const std::string& identity,
                                                               const VolumeTables& tables = {});

}  // namespace tovri
