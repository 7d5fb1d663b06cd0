#include "platform/posix/folders/FolderPermissions.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"
#include "platform/posix/files/NewFile.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

constexpr const char* accessList = "system.posix_acl_access";  // acl(5), as the file system keeps it
constexpr const char* defaultList = "system.posix_acl_default";
constexpr std::size_t longestList = 65536;  // xattr(7)

using Permissions = FolderExamples::Permissions;

bool isUnknownHere(int number) {
    return number == 0 || number == ENODATA || number == ENOTSUP || number == ENOSYS || number == EPERM ||
           number == EINVAL;
}

mode_t withoutGroupRights(mode_t mode) {
    const mode_t everybody = mode & S_IRWXO;
    return (mode & ~mode_t{S_IRWXG}) | (everybody << 3U);
}

int setList(int file, std::string_view list) {
    const int result =
        list.empty() ? ::fremovexattr(file, accessList) : ::fsetxattr(file, accessList, list.data(), list.size(), 0);
    return result == 0 ? 0 : errno;
}

Result<Permissions> permissionsOfExample(const Path& folder) {
    constexpr mode_t asTheUserWants = 0666;  // the umask and the folder decide
    Result<NewFile> example = NewFile::create(hiddenPath(folder), asTheUserWants);
    if (!example) return failure(example);
    struct stat status{};
    if (::fstat(example->descriptor(), &status) != 0) return failure(fileError("create a file in", folder, errno));
    std::array<char, longestList> bytes{};
    const ssize_t length = ::fgetxattr(example->descriptor(), accessList, bytes.data(), bytes.size());
    return Permissions{.mode = status.st_mode & 0777U,
                       .group = status.st_gid,
                       .list = std::string(bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0)};
}

Result<void> setPermissions(int file, Permissions wanted, const Path& folder) {
    struct stat status{};
    if (::fstat(file, &status) != 0) return failure(fileError("set the permissions of a file for", folder, errno));
    const bool hasGroup = status.st_gid == wanted.group || ::fchown(file, static_cast<uid_t>(-1), wanted.group) == 0;
    if (!hasGroup) {
        wanted.mode = withoutGroupRights(wanted.mode);
        wanted.list.clear();
    }
    // The mode last: beside a list its group bits are the list's mask, which the example's mode has already.
    for (const int failed : {setList(file, wanted.list), ::fchmod(file, wanted.mode) == 0 ? 0 : errno})
        if (!isUnknownHere(failed)) return failure(fileError("set the permissions of a file for", folder, failed));
    return {};
}

}  // namespace

Result<void> adoptFolderPermissions(int file, const Path& folder) {
    Result<Permissions> wanted = permissionsOfExample(folder);
    if (!wanted) return failure(wanted);
    return setPermissions(file, std::move(*wanted), folder);
}

Result<void> FolderExamples::adoptPermissions(int file, const Path& folder) {
    Result<Permissions> wanted = permissionsIn(folder);
    if (!wanted) return failure(wanted);
    return setPermissions(file, std::move(*wanted), folder);
}

Result<Permissions> FolderExamples::permissionsIn(const Path& folder) {
    constexpr std::size_t most = 256;
    struct stat status{};
    if (::stat(folder.c_str(), &status) != 0) return failure(fileError("create a file in", folder, errno));
    std::array<char, longestList> bytes{};
    const ssize_t length = ::getxattr(folder.c_str(), defaultList, bytes.data(), bytes.size());
    const Deciding deciding(status.st_dev, status.st_ino, status.st_mode, status.st_gid,
                            std::string(bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0));
    std::unique_lock lock(mutex_);
    if (const auto found = known_.find(deciding); found != known_.end()) return found->second;
    lock.unlock();  // the volume may take its time
    Result<Permissions> seen = permissionsOfExample(folder);
    lock.lock();
    if (known_.size() >= most) known_.clear();
    if (seen) known_.emplace(deciding, *seen);
    return seen;
}

}  // namespace tovri
