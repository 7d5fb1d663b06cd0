#include "platform/curl/PartialFile.h"

#include <cerrno>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovri {
namespace {

// Small enough that the last synchronization finds little left to do, large enough not to cost.
constexpr ByteCount writebackStep = 8 * 1024 * 1024;

Error fileError(const std::filesystem::path& path, int reason) {
    const std::string folder = path.parent_path().string();
    if (reason == ENOSPC || reason == EDQUOT)
        return {ErrorCase::file,
                "The disk is full: no room for the download in " + folder + "; free some space and retry."};
    return {ErrorCase::file, "Could not write the download in " + folder + ": " + std::strerror(reason) + "."};
}

int openNew(const std::filesystem::path& path) {
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
}

Error lostError() {
    return {ErrorCase::file, "The part of the file that had arrived is gone; the download starts over."};
}

}  // namespace

Result<PartialFile> PartialFile::create(const std::filesystem::path& path) {
    int descriptor = openNew(path);
    if (descriptor < 0 && errno == ENOENT) {
        std::error_code unmade;
        std::filesystem::create_directories(path.parent_path(), unmade);
        descriptor = openNew(path);
    }
    if (descriptor < 0) return failure(fileError(path, errno));
    return PartialFile(path, descriptor, 0);
}

Result<PartialFile> PartialFile::reopen(const std::filesystem::path& path, ByteCount length) {
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC);
    if (descriptor < 0) return failure(errno == ENOENT ? lostError() : fileError(path, errno));
    PartialFile file(path, descriptor, length);
    struct stat status{};
    if (::fstat(descriptor, &status) != 0) return failure(fileError(path, errno));
    if (!S_ISREG(status.st_mode) || status.st_size < length) return failure(lostError());
    if (::ftruncate(descriptor, length) != 0) return failure(fileError(path, errno));
    return file;
}

PartialFile::PartialFile(PartialFile&& other) noexcept
    : path_(std::move(other.path_)),
      descriptor_(std::exchange(other.descriptor_, -1)),
      length_(other.length_),
      handedToDisk_(other.handedToDisk_) {}

PartialFile::~PartialFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

Result<void> PartialFile::append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::pwrite(descriptor_, bytes.data(), bytes.size(), length_);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return failure(fileError(path_, errno));
        length_ += written;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    startWriteback();
    return {};
}

void PartialFile::startWriteback() {
    const ByteCount waiting = length_ - handedToDisk_;
    if (waiting < writebackStep) return;
    ::sync_file_range(descriptor_, handedToDisk_, waiting, SYNC_FILE_RANGE_WRITE);
    handedToDisk_ = length_;
}

void PartialFile::synchronize() const {
    ::fdatasync(descriptor_);
}

}  // namespace tovri
