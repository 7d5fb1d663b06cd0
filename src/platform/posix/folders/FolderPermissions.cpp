#include "platform/posix/folders/FolderPermissions.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <string_view>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"
#include "platform/posix/files/NewFile.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

constexpr const char* accessList = "system.posix_acl_access";  // acl(5), as the file system keeps it
constexpr std::size_t longestList = 65536;                     // xattr(7)

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

}  // namespace

Result<void> adoptFolderPermissions(int file, const Path& folder) {
    constexpr mode_t asTheUserWants = 0666;  // the umask and the folder decide
    Result<NewFile> example = NewFile::create(hiddenPath(folder), asTheUserWants);
    if (!example) return failure(example);
    struct stat wanted{};
    struct stat status{};
    if (::fstat(example->descriptor(), &wanted) != 0 || ::fstat(file, &status) != 0)
        return failure(fileError("create a file in", folder, errno));
    std::array<char, longestList> bytes{};
    const ssize_t length = ::fgetxattr(example->descriptor(), accessList, bytes.data(), bytes.size());
    std::string_view list(bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0);

    mode_t mode = wanted.st_mode & 0777U;
    const bool hasGroup = status.st_gid == wanted.st_gid || ::fchown(file, static_cast<uid_t>(-1), wanted.st_gid) == 0;
    if (!hasGroup) {
        mode = withoutGroupRights(mode);
        list = {};
    }
    // The mode last: beside a list its group bits are the list's mask, which the example's mode has already.
    for (const int failed : {setList(file, list), ::fchmod(file, mode) == 0 ? 0 : errno})
        if (!isUnknownHere(failed)) return failure(fileError("set the permissions of a file for", folder, failed));
    return {};
}

}  // namespace tovri
