#include "platform/posix/files/RegularFile.h"

#include <cerrno>
#include <optional>

#include <fcntl.h>

#include "platform/posix/files/FileError.h"

namespace tovri {
namespace {

std::optional<Error> refusal(std::string_view action, const std::filesystem::path& path, const struct stat& status) {
    if (S_ISREG(status.st_mode)) return std::nullopt;
    if (S_ISDIR(status.st_mode)) return fileError(action, path, EISDIR);
    return Error(ErrorCase::file, "Cannot " + std::string(action) + " \"" + displayText(path) +
                                      "\": it is a device or a connection, not a file; choose another one.");
}

}  // namespace

Result<RegularFile> openRegularFile(std::string_view action, const std::filesystem::path& path, int flags) {
    constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
    RegularFile opened;
    if (::stat(path.c_str(), &opened.status) == 0)
        if (auto refused = refusal(action, path, opened.status)) return failure(std::move(*refused));
    // Another kind of entry may take the name in between; opening a pipe would wait for its other end.
    opened.file = FileDescriptor(::open(path.c_str(), flags | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, ownerOnly));
    if (!opened.file.isOpen() || ::fstat(opened.file.number(), &opened.status) != 0)
        return failure(fileError(action, path, errno));
    if (auto refused = refusal(action, path, opened.status)) return failure(std::move(*refused));
    return opened;
}

}  // namespace tovri
