#include "platform/posix/files/PosixFileManager.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileCopy.h"
#include "platform/posix/files/FileDescriptor.h"
#include "platform/posix/files/FileError.h"
#include "platform/posix/files/FileMark.h"
#include "platform/posix/files/FileMove.h"
#include "platform/posix/files/FileSync.h"
#include "platform/posix/files/NewFile.h"
#include "platform/posix/files/PosixWritableFile.h"
#include "platform/posix/files/RegularFile.h"
#include "platform/posix/folders/FolderPermissions.h"
#include "platform/posix/folders/TrustedFolder.h"
#include "platform/posix/folders/VolumeLookup.h"
#include "platform/posix/process/LeftUploads.h"

namespace tovri {

using Path = FileManager::Path;

namespace {

constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t asTheUserWants = 0777;  // the umask decides

std::optional<struct stat> statusOf(const Path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return status;
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
        return fileOutcome(writeAll(file_.number(), bytes), "write", path_);
    }

private:
    FileDescriptor file_;
    Path path_;
};

// With all links followed, as far as it exists.
Path resolved(const Path& path) {
    Path there = path;
    Path rest;
    while (true) {
        const std::unique_ptr<char, decltype(&std::free)> real(::realpath(there.c_str(), nullptr), &std::free);
        if (!real && there.has_relative_path()) {
            rest = there.filename() / rest;
            there = there.parent_path();
            continue;
        }
        const Path whole = (real ? Path(real.get()) / rest : path).lexically_normal();
        return whole.has_filename() ? whole : whole.parent_path();
    }
}

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

std::optional<FileStamp> PosixFileManager::stamp(const Path& path) {
    constexpr std::int64_t second = 1'000'000'000;
    const auto status = statusOf(path);
    if (!status || !S_ISREG(status->st_mode)) return std::nullopt;
    // A program can set the time of the last modification, but not this one.
    return FileStamp{.identity = {status->st_dev, status->st_ino},
                     .size = status->st_size,
                     .changed = (status->st_ctim.tv_sec * second) + status->st_ctim.tv_nsec};
}

bool PosixFileManager::isWithin(const Path& path, const Path& folder) {
    const Path above = resolved(folder);
    return std::ranges::mismatch(above, resolved(path)).in1 == above.end();
}

Result<Volume> PosixFileManager::volume(const Path& path) {
    return volumes_.volumeOf(path);
}

std::vector<Path> PosixFileManager::mountPoints(const std::string& identity) {
    return mountPointsOf(identity);
}

Result<void> PosixFileManager::createDirectories(const Path& path) {
    Result<FileDescriptor> folder = makeTrustedFolder("create the folder", path, asTheUserWants, newFolders_);
    if (!folder) return failure(folder);
    return {};
}

Result<void> PosixFileManager::createPrivateFolder(const Path& path) {
    if (::mkdir(path.c_str(), S_IRWXU) == 0) return {};
    if (errno != EEXIST) return fileOutcome(errno, "create the folder", path);
    const auto status = statusOf(path);
    if (!status || !S_ISDIR(status->st_mode)) return fileOutcome(ENOTDIR, "create the folder", path);
    const auto above = statusOf(parentOf(path));
    const bool isOurs = status->st_uid == ::geteuid();
    const bool isPrivate = (status->st_mode & (S_IRWXU | S_IRWXG | S_IRWXO)) == S_IRWXU;
    if (isOurs && !isPrivate) (void)::chmod(path.c_str(), S_IRWXU);  // some volumes have one mode for all
    return fileOutcome(isOurs || (above && above->st_uid == status->st_uid) ? 0 : EPERM, "use the folder", path);
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
    Result<NewFile> copy = copyOf(from, hiddenPath(parentOf(to)), {});
    if (!copy) return failure(copy);
    return fileOutcome(copy->placeWhereNothingStands(to), "create", to);
}

Result<void> PosixFileManager::moveItem(const Path& from, const Path& to, std::stop_token stop) {
    Result<FileDescriptor> folder = openTrustedFolder("move the file to", parentOf(to));
    if (!folder) return failure(folder);
    return FileMove(from, {std::move(*folder), to}, newFolders_, std::move(stop)).whereNothingStands();
}

Result<void> PosixFileManager::replaceItem(const Path& from, const Path& to, std::stop_token stop) {
    Result<FileDescriptor> folder = openTrustedFolder("replace", parentOf(to));
    if (!folder) return failure(folder);
    return FileMove(from, {std::move(*folder), to}, newFolders_, std::move(stop)).over();
}

Result<void> PosixFileManager::adoptFolderPermissions(const Path& file, const Path& folder) {
    Result<RegularFile> opened = openRegularFile("set the permissions of", file, O_RDONLY | O_NOFOLLOW);
    if (!opened) return failure(opened);
    return examples_.adoptPermissions(opened->file.number(), folder);
}

std::string PosixFileManager::mark(const Path& file) {
    return fileMark(file);
}

Result<void> PosixFileManager::setMark(const Path& file, const std::string& mark) {
    return setFileMark(file, mark);
}

Result<void> PosixFileManager::removeItem(const Path& path) {
    std::error_code error;
    const auto count = std::filesystem::remove_all(path, error);
    if (error) return failure(fileError("remove", path, error.value()));
    if (count == 0) return failure(fileError("remove", path, ENOENT));
    return {};
}

Result<void> PosixFileManager::removeFile(const Path& path) {
    return fileOutcome(::unlink(path.c_str()) == 0 ? 0 : errno, "remove", path);
}

Result<void> PosixFileManager::makeDurable(const Path& path) {
    Result<RegularFile> opened = openRegularFile("save", path, O_RDONLY);
    if (!opened) return failure(opened);
    if (::fsync(opened->file.number()) != 0) return failure(fileError("save", path, errno));
    return fileOutcome(newFolders_.makeNameDurable(path), "save", path);
}

std::vector<Result<void>> PosixFileManager::makeAllDurable(const std::vector<Path>& paths) {
    return FileSync(paths, newFolders_).perform();
}

Result<void> PosixFileManager::makeFolderDurable(const Path& folder) {
    return fileOutcome(NewFolders::makeEntriesDurable(folder), "save", folder);
}

Result<ByteBlob> PosixFileManager::readFile(const Path& path) {
    Result<RegularFile> opened = openRegularFile("read", path, O_RDONLY);
    if (!opened) return failure(opened);
    const int file = opened->file.number();
    ByteBlob bytes(static_cast<std::size_t>(opened->status.st_size) + 1, '\0');
    std::size_t size = 0;
    while (true) {
        const ssize_t count = retrying([&] { return ::read(file, bytes.data() + size, bytes.size() - size); });
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
    const Result<void> written = content(
        [&](std::string_view piece) { return fileOutcome(writeAll(file->descriptor(), piece), "write", path); });
    if (!written) return written;
    int failed = ::fsync(file->descriptor()) == 0 ? 0 : errno;
    if (failed == 0) failed = file->placeOver(path);
    if (failed == 0) failed = newFolders_.makeNameDurable(path);
    return fileOutcome(failed, "write", path);
}

Result<void> PosixFileManager::appendToFile(const Path& path, std::string_view bytes) {
    Result<RegularFile> opened = openRegularFile("write", path, O_CREAT | O_APPEND | O_WRONLY);
    if (!opened) return failure(opened);
    return fileOutcome(writeAll(opened->file.number(), bytes), "write", path);
}

Result<std::unique_ptr<FileHandle>> PosixFileManager::openForReading(const Path& path) {
    Result<RegularFile> opened = openRegularFile("read", path, O_RDONLY);
    if (!opened) return failure(opened);
    return std::make_unique<PosixFileHandle>(std::move(opened->file), path);
}

Result<std::unique_ptr<FileHandle>> PosixFileManager::createFile(const Path& path) {
    FileDescriptor file;
    do {
        file = FileDescriptor(::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_NOFOLLOW | O_CLOEXEC, ownerOnly));
        if (!file.isOpen()) return failure(fileError("create", path, errno));
    } while (!holdNewFile(file));
    return std::make_unique<PosixFileHandle>(std::move(file), path);
}

Result<std::unique_ptr<WritableFile>> PosixFileManager::createForWriting(const Path& path) {
    return PosixWritableFile::create(path, newFolders_);
}

Result<std::unique_ptr<WritableFile>> PosixFileManager::reopenForWriting(const Path& path, ByteCount length) {
    return PosixWritableFile::reopen(path, length);
}

}  // namespace tovri
