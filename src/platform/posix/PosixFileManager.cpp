#include "platform/posix/PosixFileManager.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/FileCopy.h"
#include "platform/posix/FileDescriptor.h"
#include "platform/posix/FileError.h"
#include "platform/posix/NewFile.h"
#include "platform/posix/PosixWritableFile.h"

namespace tovri {

using Path = FileManager::Path;

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t asTheUserWants = 0777;  // the umask decides

Result<void> outcome(int number, std::string_view action, const Path& path) {
    if (number == 0) return {};
    if (number == ECANCELED) return failure(Error::cancelled());
    return failure(fileError(action, path, number));
}

std::optional<struct stat> statusOf(const Path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return status;
}

bool isFolder(const Path& path) {
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
}

// A regular file that is open for reading, and what is known of it.
struct Source {
    FileDescriptor file;
    struct stat status{};
};

Result<Source> openSource(const Path& path) {
    Source source{FileDescriptor(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC))};
    if (!source.file.isOpen() || ::fstat(source.file.number(), &source.status) != 0)
        return failure(fileError("read", path, errno));
    if (S_ISDIR(source.status.st_mode)) return failure(fileError("copy", path, EXDEV));
    if (!S_ISREG(source.status.st_mode)) return failure(fileError("copy", path, EINVAL));
    return source;
}

// A copy of the source, not yet under its name.
Result<NewFile> copyOf(const Source& source, const Path& hidden, const std::stop_token& stop) {
    Result<NewFile> copy = NewFile::create(hidden, source.status.st_mode & 0777U);
    if (!copy) return copy;
    const int failed = copyContent(source.file.number(), copy->descriptor(), source.status.st_size, stop);
    if (auto fine = outcome(failed, "write into", hidden.parent_path()); !fine) return failure(fine);
    return copy;
}

// Where a file is gathered before it takes its name on another volume.
Path gatheringPlace(const Path& from, const Path& to) {
    const Path place = parentOf(to) / gatheringPath(from, to).filename();
    return place.filename().native().size() > NAME_MAX ? hiddenPath(parentOf(to)) : place;
}

class PosixFileHandle final : public FileHandle {
public:
    PosixFileHandle(FileDescriptor file, Path path) : file_(std::move(file)), path_(std::move(path)) {}

    Result<ByteBlob> read(std::size_t limit) override {
        ByteBlob bytes(limit, '\0');
        const ssize_t count = retrying([&] { return ::read(file_.number(), bytes.data(), bytes.size()); });
        if (count < 0) return failure(fileError("read", path_, errno));
        bytes.resize(static_cast<std::size_t>(count));
        return bytes;
    }

    Result<void> write(std::string_view bytes) override {
        return outcome(writeAll(file_.number(), bytes), "write", path_);
    }

private:
    FileDescriptor file_;
    Path path_;
};

}  // namespace

bool PosixFileManager::exists(const Path& path) {
    return statusOf(path).has_value();
}

std::optional<ByteCount> PosixFileManager::fileSize(const Path& path) {
    const auto status = statusOf(path);
    if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
    return status->st_size;
}

std::optional<FileIdentity> PosixFileManager::identity(const Path& path) {
    const auto status = statusOf(path);
    if (!status) return std::nullopt;
    return FileIdentity{status->st_dev, status->st_ino};
}

Result<void> PosixFileManager::createDirectories(const Path& path) {
    const int failed = newFolders_.make(path.has_filename() ? path : path.parent_path(), asTheUserWants);
    return outcome(failed == EEXIST ? ENOTDIR : failed, "create the folder", path);
}

Result<std::vector<Path>> PosixFileManager::directoryContents(const Path& path) {
    std::vector<Path> found;
    std::error_code error;
    std::filesystem::directory_iterator entry(path, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error))
        found.push_back(entry->path());
    if (error) return failure(fileError("list the folder", path, error.value()));
    return found;
}

Result<void> PosixFileManager::cloneFile(const Path& from, const Path& to) {
    const auto status = statusOf(from);
    if (status && S_ISREG(status->st_mode)) {
        if (::link(from.c_str(), to.c_str()) == 0) return {};
        const bool isHopeless =
            errno == EEXIST || errno == ENOSPC || errno == EDQUOT || errno == EROFS || errno == ENAMETOOLONG;
        if (isHopeless) return failure(fileError("create", to, errno));
    }
    Result<Source> source = openSource(from);
    if (!source) return failure(source);
    Result<NewFile> copy = copyOf(*source, hiddenPath(parentOf(to)), {});
    if (!copy) return failure(copy);
    return outcome(copy->placeWhereNothingStands(to), "create", to);
}

Result<void> PosixFileManager::moveItem(const Path& from, const Path& to, std::stop_token stop) {
    const int failed = renameWhereNothingStands(from, to);
    if (failed == EXDEV) return moveBetweenVolumes(from, to, Target::free, stop);
    return outcome(failed, "move the file to", to);
}

Result<void> PosixFileManager::replaceItem(const Path& from, const Path& to, std::stop_token stop) {
    if (isFolder(to)) return replaceFolder(from, to, stop);
    const auto source = statusOf(from);
    if (!source) return failure(fileError("move", from, errno));
    if (::rename(from.c_str(), to.c_str()) != 0) {
        if (errno == EXDEV) return moveBetweenVolumes(from, to, Target::replaced, stop);
        return failure(fileError("replace", to, errno));
    }
    // Two names of one file: rename(2) leaves both.
    const auto left = statusOf(from);
    if (left && left->st_ino == source->st_ino && from != to) ::unlink(from.c_str());
    return {};
}

Result<void> PosixFileManager::moveBetweenVolumes(const Path& from, const Path& to, Target target,
                                                  const std::stop_token& stop) {
    if (auto copied = copyBetweenVolumes(from, to, target, stop); !copied) return copied;
    // Only a durable copy may cost the original.
    if (newFolders_.makeNameDurable(to) == 0) ::unlink(from.c_str());
    return {};
}

Result<void> PosixFileManager::copyBetweenVolumes(const Path& from, const Path& to, Target target,
                                                  const std::stop_token& stop) {
    if (target == Target::free && exists(to)) return failure(fileError("move the file to", to, EEXIST));
    Result<Source> source = openSource(from);
    if (!source) return failure(source);
    Result<NewFile> copy = copyOf(*source, gatheringPlace(from, to), stop);
    if (!copy) return failure(copy);
    if (::fsync(copy->descriptor()) != 0) return failure(fileError("write", to, errno));
    if (stop.stop_requested()) return failure(Error::cancelled());
    const int failed = target == Target::free ? copy->placeWhereNothingStands(to) : copy->placeOver(to);
    return outcome(failed, "move the file to", to);
}

// File and folder change places, then the folder goes.
Result<void> PosixFileManager::replaceFolder(const Path& from, const Path& to, const std::stop_token& stop) {
    Path gone = from;  // where the folder is after the exchange
    int failed = exchangeEntries(from, to);
    if (failed == EXDEV) {
        gone = gatheringPlace(from, to);
        if (auto arrived = copyBetweenVolumes(from, gone, Target::replaced, stop); !arrived) return arrived;
        failed = exchangeEntries(gone, to);
        if (failed != 0) ::unlink(gone.c_str());
        if (failed == 0 && newFolders_.makeNameDurable(to) == 0) ::unlink(from.c_str());
    }
    if (failed != 0) return failure(fileError("replace", to, failed));
    std::error_code ignored;
    std::filesystem::remove_all(gone, ignored);
    return {};
}

Result<void> PosixFileManager::removeItem(const Path& path) {
    std::error_code error;
    const auto count = std::filesystem::remove_all(path, error);
    if (error) return failure(fileError("remove", path, error.value()));
    if (count == 0) return failure(fileError("remove", path, ENOENT));
    return {};
}

Result<void> PosixFileManager::makeDurable(const Path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen()) return failure(fileError("save", path, errno));
    if (::fsync(file.number()) != 0) return failure(fileError("save", path, errno));
    return outcome(newFolders_.makeNameDurable(path), "save", path);
}

Result<ByteBlob> PosixFileManager::readFile(const Path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status{};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) return failure(fileError("read", path, errno));
    ByteBlob bytes(static_cast<std::size_t>(status.st_size) + 1, '\0');
    std::size_t size = 0;
    while (true) {
        const ssize_t count = retrying([&] { return ::read(file.number(), bytes.data() + size, bytes.size() - size); });
        if (count < 0) return failure(fileError("read", path, errno));
        if (count == 0) break;
        size += static_cast<std::size_t>(count);
        if (size == bytes.size()) bytes.resize(bytes.size() * 2);
    }
    bytes.resize(size);
    return bytes;
}

Result<void> PosixFileManager::writeFileAtomically(const Path& path, const Content& content) {
    Result<NewFile> file = NewFile::create(hiddenPath(parentOf(path)), ownerOnly);
    if (!file) return failure(file);
    const Result<void> written =
        content([&](std::string_view piece) { return outcome(writeAll(file->descriptor(), piece), "write", path); });
    if (!written) return written;
    int failed = ::fsync(file->descriptor()) == 0 ? 0 : errno;
    if (failed == 0) failed = file->placeOver(path);
    if (failed == 0) failed = newFolders_.makeNameDurable(path);
    return outcome(failed, "write", path);
}

Result<void> PosixFileManager::appendToFile(const Path& path, std::string_view bytes) {
    const FileDescriptor file(::open(path.c_str(), O_CREAT | O_APPEND | O_WRONLY | O_CLOEXEC, ownerOnly));
    if (!file.isOpen()) return failure(fileError("write", path, errno));
    return outcome(writeAll(file.number(), bytes), "write", path);
}

Result<std::unique_ptr<FileHandle>> PosixFileManager::openForReading(const Path& path) {
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) return failure(fileError("read", path, errno));
    if (isFolder(path)) return failure(fileError("read", path, EISDIR));
    return std::make_unique<PosixFileHandle>(std::move(file), path);
}

Result<std::unique_ptr<FileHandle>> PosixFileManager::createFile(const Path& path) {
    FileDescriptor file(::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
    if (!file.isOpen()) return failure(fileError("create", path, errno));
    return std::make_unique<PosixFileHandle>(std::move(file), path);
}

Result<std::unique_ptr<WritableFile>> PosixFileManager::createForWriting(const Path& path) {
    return PosixWritableFile::create(path, newFolders_);
}

Result<std::unique_ptr<WritableFile>> PosixFileManager::reopenForWriting(const Path& path, ByteCount length) {
    return PosixWritableFile::reopen(path, length);
}

}  // namespace tovri
