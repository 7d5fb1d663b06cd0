#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

#include "base/Result.h"
#include "platform/Volume.h"
#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

// Where Linux says what is mounted and which file system has which UUID: proc(5), udev(7).
struct VolumeTables {
    std::filesystem::path mounts = "/proc/self/mountinfo";
    std::filesystem::path uuids = "/dev/disk/by-uuid";
};

// Which volumes there are. The table of mounts is read again only when the kernel says that it has changed. Any thread.
class VolumeLookup {
public:
    explicit VolumeLookup(VolumeTables tables = {}) : tables_(std::move(tables)) {}

    // The volume of the nearest folder of the path that exists.
    [[nodiscard]] Result<Volume> volumeOf(const std::filesystem::path& path);

private:
    using MountedDevice = std::pair<dev_t, std::uint64_t>;  // and the number of the mount

    [[nodiscard]] std::string identityOf(const std::filesystem::path& folder, dev_t device);
    void forgetAfterChange();

    VolumeTables tables_;
    std::mutex mutex_;
    FileDescriptor mounts_;
    std::uint64_t changes_ = 0;
    std::map<MountedDevice, std::string> identities_;
};

// Where the volume with this identity is mounted. Asks no volume that might not answer.
[[nodiscard]] std::vector<std::filesystem::path> mountPointsOf(const std::string& identity,
                                                               const VolumeTables& tables = {});

}  // namespace tovri
