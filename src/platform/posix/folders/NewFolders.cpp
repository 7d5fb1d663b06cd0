#include "platform/posix/folders/NewFolders.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileDescriptor.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

int syncFolder(const Path& folder) {
    const FileDescriptor opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen()) return errno == EACCES ? 0 : errno;  // a folder that may be written but not read
    if (::fsync(opened.number()) == 0 || errno == EINVAL || errno == ENOTSUP) return 0;  // not that kind of volume
    return errno;
}

}  // namespace

Path parentOf(const Path& path) {
    const Path parent = path.parent_path();
    return parent.empty() ? Path(".") : parent;
}

int NewFolders::make(const Path& folder, mode_t mode) {
    const auto stands = [&] {
        struct stat status{};
        return ::stat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    };
    if (stands()) return 0;
    int made = ::mkdir(folder.c_str(), mode);
    if (made != 0 && errno == ENOENT && folder.has_relative_path() && folder.has_parent_path()) {
        if (const int failed = make(folder.parent_path(), mode); failed != 0) return failed;
        made = ::mkdir(folder.c_str(), mode);
    }
    if (made != 0) {
        const int failed = errno;
        return stands() ? 0 : failed;
    }
    noteMade(folder);
    return 0;
}

void NewFolders::noteMade(const Path& folder) {
    const std::scoped_lock lock(mutex_);
    ++unsynced_[parentOf(folder)];
}

int NewFolders::makeNameDurable(const Path& path) {
    Path folder = parentOf(path);
    if (const int failed = syncFolder(folder); failed != 0) return failed;
    while (true) {
        Path above = parentOf(folder);
        const bool isTop = above == folder || !folder.has_relative_path();
        folder = std::move(above);
        std::unique_lock lock(mutex_);
        const auto entry = unsynced_.find(folder);
        if (isTop || entry == unsynced_.end()) return 0;
        const int made = entry->second;
        lock.unlock();
        if (const int failed = syncFolder(folder); failed != 0) return failed;
        lock.lock();
        if (const auto now = unsynced_.find(folder); now != unsynced_.end() && now->second == made)
            unsynced_.erase(now);
    }
}

int NewFolders::makeEntriesDurable(Path folder) {
    struct stat first{};
    if (::stat(folder.c_str(), &first) != 0) return errno;
    while (true) {
        if (const int failed = syncFolder(folder); failed != 0) return failed;
        if (!folder.has_relative_path()) return 0;
        folder = parentOf(folder);
        struct stat above{};
        if (::stat(folder.c_str(), &above) != 0) return errno == EACCES ? 0 : errno;
        if (above.st_dev != first.st_dev) return 0;
    }
}

}  // namespace tovri
