#include "platform/posix/files/NewFile.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"
#include "platform/posix/loop/SystemRandom.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

// How a nameless file is found when it is to get its name (open(2), O_TMPFILE).
std::string pathOfDescriptor(int descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

Path hiddenPath(const Path& folder) {
    return (folder.empty() ? Path(".") : folder) / (".tovri-" + SystemRandom().makeUUID().text());
}

int renameWhereNothingStands(const Path& from, const Path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) return errno;
    // The volume cannot rename under that condition. A second name can only be made where nothing stands.
    if (::link(from.c_str(), to.c_str()) == 0) {
        ::unlink(from.c_str());
        return 0;
    }
    if (errno == EEXIST || errno == ENOENT || errno == ENOSPC || errno == EROFS || errno == ENAMETOOLONG) return errno;
    // Nor can it link; what is left is to look first.
    struct stat entry{};
    if (::lstat(to.c_str(), &entry) == 0) return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

NewFile::NewFile(NewFile&& other) noexcept
    : hidden_(std::move(other.hidden_)),
      hasName_(std::exchange(other.hasName_, false)),
      file_(std::move(other.file_)) {}

NewFile::~NewFile() {
    if (hasName_) ::unlink(hidden_.c_str());
}

Result<NewFile> NewFile::create(Path hidden, mode_t mode) {
    NewFile file(std::move(hidden));
    const Path folder = file.hidden_.parent_path();
    file.file_ = FileDescriptor(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, mode));
    if (file.file_.isOpen() && ::access(pathOfDescriptor(file.descriptor()).c_str(), F_OK) == 0) return file;

    file.removeLeftover();
    file.file_ = FileDescriptor(::open(file.hidden_.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC | O_NOFOLLOW, mode));
    if (!file.file_.isOpen()) return failure(fileError("create a file in", folder, errno));
    file.hasName_ = true;
    return file;
}

void NewFile::removeLeftover() const {
    std::error_code ignored;
    std::filesystem::remove_all(hidden_, ignored);
}

int NewFile::placeWhereNothingStands(const Path& to) {
    const int failed = hasName_ ? renameWhereNothingStands(hidden_, to) : linkAt(to);
    if (failed == 0) hasName_ = false;
    return failed;
}

int NewFile::placeOver(const Path& to) {
    if (!hasName_) {
        removeLeftover();
        const int failed = linkAt(hidden_);
        if (failed != 0) return failed;
        hasName_ = true;
    }
    if (::rename(hidden_.c_str(), to.c_str()) != 0) return errno;
    hasName_ = false;
    return 0;
}

int NewFile::linkAt(const Path& to) const {
    const std::string nameless = pathOfDescriptor(descriptor());
    return ::linkat(AT_FDCWD, nameless.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

}  // namespace tovri
