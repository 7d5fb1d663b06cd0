#include "platform/posix/files/FileMark.h"

#include <array>
#include <cerrno>

#include <sys/xattr.h>

#include "platform/posix/files/FileError.h"

namespace tovri {
namespace {

constexpr const char* attribute = "user.tovri.original";

// Whether no file here takes the attribute, or it was not there to be removed.
bool isNothingToMind(int reason) {
    return reason == ENOTSUP || reason == ENOSYS || reason == EPERM || reason == EACCES || reason == ENODATA;
}

int outcome(int result) {
    return result == 0 || isNothingToMind(errno) ? 0 : errno;
}

}  // namespace

std::string fileMark(const std::filesystem::path& file) {
    constexpr std::size_t longest = 64;
    std::array<char, longest> bytes{};
    const ssize_t length = ::lgetxattr(file.c_str(), attribute, bytes.data(), bytes.size());
    return {bytes.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

Result<void> setFileMark(const std::filesystem::path& file, const std::string& mark) {
    const int failed = outcome(mark.empty() ? ::lremovexattr(file.c_str(), attribute)
                                            : ::lsetxattr(file.c_str(), attribute, mark.data(), mark.size(), 0));
    return fileOutcome(failed, "mark", file);
}

int setFileMark(int file, const std::string& mark) {
    if (mark.empty()) return 0;
    return outcome(::fsetxattr(file, attribute, mark.data(), mark.size(), 0));
}

}  // namespace tovri
