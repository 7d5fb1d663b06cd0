#include "platform/posix/folders/VolumeLookup.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"
#include "platform/posix/folders/NewFolders.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

struct Mount {
    std::uint64_t id = 0;
    std::string point;
    std::string type;
    std::string source;
};

// A field of the table, in which \NNN (octal) stands for a byte that would end it.
std::string unescaped(std::string_view field) {
    constexpr std::size_t digits = 3;
    std::string text;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const std::string_view number = field.substr(std::min(i + 1, field.size()), digits);
        const bool isNumber = number.size() == digits && number.find_first_not_of("01234567") == std::string_view::npos;
        if (field[i] == '\\' && isNumber) {
            text += static_cast<char>(std::stoi(std::string(number), nullptr, 8));
            i += digits;
        } else {
            text += field[i];
        }
    }
    return text;
}

// A line: ID PARENT MAJOR:MINOR ROOT POINT OPTIONS [OPTIONAL...] - TYPE SOURCE OPTIONS
std::optional<Mount> parseMount(const std::string& line) {
    std::istringstream fields(line);
    Mount mount;
    std::string skipped;
    if (!(fields >> mount.id >> skipped >> skipped >> skipped >> mount.point)) return std::nullopt;
    while (fields >> skipped && skipped != "-") continue;
    fields >> mount.type >> mount.source;
    return Mount{mount.id, unescaped(mount.point), mount.type, unescaped(mount.source)};
}

std::optional<Mount> mountWithID(const Path& table, std::uint64_t id) {
    std::ifstream lines(table);
    for (std::string line; std::getline(lines, line);)
        if (auto mount = parseMount(line); mount && mount->id == id) return mount;
    return std::nullopt;
}

std::optional<std::string> uuidOf(const Path& device, const Path& uuids) {
    struct stat wanted{};
    if (::stat(device.c_str(), &wanted) != 0 || !S_ISBLK(wanted.st_mode)) return std::nullopt;
    std::error_code error;
    std::filesystem::directory_iterator entry(uuids, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        struct stat status{};
        if (::stat(entry->path().c_str(), &status) != 0 || !S_ISBLK(status.st_mode)) continue;
        if (status.st_rdev == wanted.st_rdev) return entry->path().filename();
    }
    return std::nullopt;
}

// The number that the file system keeps of itself; others make theirs up at each mount (statfs(2)).
std::optional<std::string> keptNumber(const Path& folder) {
    constexpr std::uint32_t zfs = 0x2FC12FC1;  // no header of Linux names it
    struct statfs facts{};
    if (::statfs(folder.c_str(), &facts) != 0) return std::nullopt;
    const auto type = static_cast<std::uint32_t>(facts.f_type);
    if (type != EXT4_SUPER_MAGIC && type != BTRFS_SUPER_MAGIC && type != zfs) return std::nullopt;
    std::array<std::uint32_t, 2> parts{};
    static_assert(sizeof parts == sizeof facts.f_fsid);
    std::memcpy(parts.data(), &facts.f_fsid, sizeof parts);
    if (parts[0] == 0 && parts[1] == 0) return std::nullopt;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "number:%08" PRIx32 "%08" PRIx32, parts[0], parts[1]);
    return text.data();
}

std::string identityByName(const Mount& mount) {
    // A source that is no device and no address ("tmpfs", "none") says nothing by itself.
    const bool isTelling = mount.source.find_first_of("/:") != std::string::npos;
    return "mount:" + mount.type + " " + (isTelling ? mount.source : mount.point);
}

bool isThere(const Mount& mount, const std::string& identity, const VolumeTables& tables) {
    if (identity.starts_with("mount:")) return identityByName(mount) == identity;
    if (!mount.source.starts_with("/dev/") && mount.type != "zfs") return false;  // a network may not answer
    if (!identity.starts_with("uuid:")) return keptNumber(mount.point) == identity;
    const auto uuid = uuidOf(mount.source, tables.uuids);
    return uuid && "uuid:" + *uuid == identity;
}

std::optional<std::uint64_t> mountNumber(const Path& folder) {
    struct statx details{};
    const bool isKnown = ::statx(AT_FDCWD, folder.c_str(), 0, STATX_MNT_ID, &details) == 0;
    if (!isKnown || (details.stx_mask & STATX_MNT_ID) == 0) return std::nullopt;
    return details.stx_mnt_id;
}

std::string lastingIdentity(const Path& folder, dev_t device, std::uint64_t number, const VolumeTables& tables) {
    const std::optional<Mount> mount = mountWithID(tables.mounts, number);
    if (mount)
        if (const auto uuid = uuidOf(mount->source, tables.uuids)) return "uuid:" + *uuid;
    if (auto kept = keptNumber(folder)) return std::move(*kept);
    return mount ? identityByName(*mount) : "device:" + std::to_string(device);
}

std::optional<ByteCount> bytes(std::uint64_t blocks, std::uint64_t size) {
    constexpr auto most = static_cast<std::uint64_t>(std::numeric_limits<ByteCount>::max());
    return static_cast<ByteCount>(size != 0 && blocks > most / size ? most : blocks * size);
}

}  // namespace

Result<Volume> VolumeLookup::volumeOf(const Path& path) {
    Volume volume;
    volume.folder = path;
    struct stat status{};
    while (true) {
        const int failed = ::stat(volume.folder.c_str(), &status) == 0 ? 0 : errno;
        if (failed == 0 && S_ISDIR(status.st_mode)) break;
        const Path above = parentOf(volume.folder);
        const bool isMissing = failed == 0 || failed == ENOENT || failed == ENOTDIR;
        if (!isMissing || above == volume.folder) return failure(fileError("look at", volume.folder, failed));
        volume.folder = above;
    }
    struct statvfs facts{};
    if (::statvfs(volume.folder.c_str(), &facts) != 0) return failure(fileError("look at", volume.folder, errno));
    volume.number = status.st_dev;
    volume.identity = identityOf(volume.folder, volume.number);
    volume.keepsNumbers = volume.identity.starts_with("uuid:") || volume.identity.starts_with("number:");
    if (facts.f_blocks != 0) {
        volume.available = bytes(facts.f_bavail, facts.f_frsize);
        volume.total = bytes(facts.f_blocks, facts.f_frsize);
    }
    if (facts.f_namemax != 0) volume.longestName = facts.f_namemax;
    volume.isWritable = ::faccessat(AT_FDCWD, volume.folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
    return volume;
}

std::string VolumeLookup::identityOf(const Path& folder, dev_t device) {
    constexpr std::size_t most = 256;
    const std::uint64_t number = mountNumber(folder).value_or(0);
    std::unique_lock lock(mutex_);
    forgetAfterChange();
    if (const auto known = identities_.find({device, number}); known != identities_.end()) return known->second;
    const std::uint64_t changes = changes_;
    lock.unlock();  // the volume may take its time
    std::string identity = lastingIdentity(folder, device, number, tables_);
    lock.lock();
    if (identities_.size() >= most) identities_.clear();
    if (changes == changes_) identities_.emplace(MountedDevice{device, number}, identity);
    return identity;
}

// proc(5): the table can be polled, and tells each reader of each change once.
void VolumeLookup::forgetAfterChange() {
    if (!mounts_.isOpen()) mounts_ = FileDescriptor(::open(tables_.mounts.c_str(), O_RDONLY | O_CLOEXEC));
    pollfd look{.fd = mounts_.number(), .events = POLLPRI, .revents = 0};
    if (mounts_.isOpen() && ::poll(&look, 1, 0) == 0) return;
    identities_.clear();
    ++changes_;
}

std::vector<Path> mountPointsOf(const std::string& identity, const VolumeTables& tables) {
    std::vector<Path> points;
    std::ifstream lines(tables.mounts);
    for (std::string line; std::getline(lines, line);)
        if (const auto mount = parseMount(line); mount && isThere(*mount, identity, tables))
            points.emplace_back(mount->point);
    return points;
}

}  // namespace tovri
