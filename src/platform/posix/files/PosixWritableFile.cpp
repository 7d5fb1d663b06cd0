#include "platform/posix/files/PosixWritableFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

// Small enough that the last synchronization finds little left to do, large enough not to cost.
constexpr ByteCount writebackStep = 8 * 1024 * 1024;

Error writeError(const Path& path, int number) {
    const std::string folder = displayText(path.parent_path());
    if (number == ENOSPC || number == EDQUOT)
        return {ErrorCase::diskFull,
                "The disk is full: no room for the download in " + folder + "; free some space and retry."};
    return {ErrorCase::file, "Could not write the download in " + folder + ": " + std::strerror(number) + "."};
}

Error lostError() {
    return {ErrorCase::file, "The part of the file that had arrived is gone; the download starts over."};
}

FileDescriptor openNew(const Path& path) {
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    return FileDescriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
}

}  // namespace

Result<std::unique_ptr<WritableFile>> PosixWritableFile::create(Path path, NewFolders& folders) {
    constexpr mode_t ownerOnly = S_IRWXU;
    FileDescriptor file = openNew(path);
    if (!file.isOpen() && errno == ENOENT) {
        if (const int failed = folders.make(parentOf(path), ownerOnly); failed != 0)
            return failure(writeError(path, failed));
        file = openNew(path);
    }
    if (!file.isOpen() && errno == EEXIST) return failure(fileError("create", path, errno));
    if (!file.isOpen()) return failure(writeError(path, errno));
    return std::make_unique<PosixWritableFile>(std::move(file), std::move(path), 0);
}

Result<std::unique_ptr<WritableFile>> PosixWritableFile::reopen(Path path, ByteCount length) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) {
        const bool isNoSuchFile = errno == ENOENT || errno == ENOTDIR || errno == EISDIR || errno == ELOOP;
        return failure(isNoSuchFile ? lostError() : writeError(path, errno));
    }
    struct stat status{};
    if (::fstat(file.number(), &status) != 0) return failure(writeError(path, errno));
    if (!S_ISREG(status.st_mode) || status.st_size < length) return failure(lostError());
    if (::ftruncate(file.number(), length) != 0) return failure(writeError(path, errno));
    return std::make_unique<PosixWritableFile>(std::move(file), std::move(path), length);
}

Result<void> PosixWritableFile::writeAt(ByteCount offset, std::string_view bytes) {
    const auto length = static_cast<ByteCount>(bytes.size());
    waitingFrom_ = waiting_ == 0 ? offset : std::min(waitingFrom_, offset);
    waitingTo_ = waiting_ == 0 ? offset + length : std::max(waitingTo_, offset + length);
    waiting_ += length;
    while (!bytes.empty()) {
        const ssize_t count = retrying([&] { return ::pwrite(file_.number(), bytes.data(), bytes.size(), offset); });
        if (count < 0) return failure(writeError(path_, errno));
        offset += count;
        size_ = std::max(size_, offset);
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    startWriteback();
    return {};
}

void PosixWritableFile::startWriteback() {
    if (waiting_ < writebackStep) return;
    ::sync_file_range(file_.number(), waitingFrom_, waitingTo_ - waitingFrom_, SYNC_FILE_RANGE_WRITE);
    waiting_ = 0;
}

Result<ByteBlob> PosixWritableFile::readAt(ByteCount offset, std::size_t limit) {
    ByteBlob bytes(limit, '\0');
    std::size_t size = 0;
    while (size < limit) {
        const ssize_t count = retrying([&] {
            return ::pread(file_.number(), bytes.data() + size, limit - size, offset + static_cast<ByteCount>(size));
        });
        if (count < 0) return failure(fileError("read", path_, errno));
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
    }
    bytes.resize(size);
    return bytes;
}

Result<bool> PosixWritableFile::allocate(ByteCount length) {
    if (length <= 0) return true;
    if (retrying([&] { return ::fallocate(file_.number(), FALLOC_FL_KEEP_SIZE, 0, length); }) == 0) return true;
    if (errno == ENOSPC || errno == EDQUOT || errno == EFBIG || errno == EIO) return failure(writeError(path_, errno));
    return false;
}

Result<void> PosixWritableFile::synchronize() {
    if (::fdatasync(file_.number()) != 0) return failure(writeError(path_, errno));
    // Nobody reads it soon: memory that keeps it would be taken from what others read again.
    ::posix_fadvise(file_.number(), 0, 0, POSIX_FADV_DONTNEED);
    return {};
}

}  // namespace tovri
