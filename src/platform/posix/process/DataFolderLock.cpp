#include "platform/posix/process/DataFolderLock.h"

#include <array>
#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileCopy.h"
#include "platform/posix/files/FileError.h"
#include "platform/posix/folders/XDGFolders.h"

namespace tovri {
namespace {

// "tovri-cli (process 4711)", as the holder wrote it; something less when it has not come to that yet.
std::string holder(int file) {
    std::array<char, 200> text{};
    const ssize_t size = ::pread(file, text.data(), text.size(), 0);
    return size > 0 ? displayText(std::string(text.data(), static_cast<std::size_t>(size))) : "another process";
}

}  // namespace

Result<DataFolderLock> DataFolderLock::acquire(const std::filesystem::path& folder, std::string_view program) {
    if (auto created = createPrivateFolder(folder); !created) return failure(created);
    const std::filesystem::path path = folder / "lock";
    FileDescriptor file(::open(path.c_str(), O_CREAT | O_RDWR | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen()) return failure(fileError("open", path, errno));

    struct flock whole{};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (::fcntl(file.number(), F_OFD_SETLK, &whole) != 0) {
        if (errno != EAGAIN && errno != EACCES) return failure(fileError("lock", path, errno));
        return failure({ErrorCase::inUse, "The downloads in \"" + displayText(folder) + "\" are in use by " +
                                              holder(file.number()) +
                                              "; wait for it to end, or end it, and try again."});
    }
    const std::string self = std::string(program) + " (process " + std::to_string(::getpid()) + ")";
    if (::ftruncate(file.number(), 0) != 0) return failure(fileError("write", path, errno));
    if (const int failed = writeAll(file.number(), self); failed != 0) return failure(fileError("write", path, failed));
    return DataFolderLock(std::move(file));
}

}  // namespace tovri
