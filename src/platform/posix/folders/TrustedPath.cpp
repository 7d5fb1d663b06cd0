#include "platform/posix/folders/TrustedPath.h"

#include <sys/stat.h>
#include <unistd.h>

#include "platform/posix/files/FileError.h"

namespace tovri {
namespace {

bool isTrusted(const struct stat& link, const std::filesystem::path& folder) {
    if (link.st_uid != ::geteuid() && link.st_uid != 0) return false;
    struct stat above{};
    return ::stat(folder.c_str(), &above) == 0 && (above.st_mode & S_IWOTH) == 0;
}

}  // namespace

Result<void> checkLinks(const std::filesystem::path& path) {
    std::filesystem::path walked;
    for (const std::filesystem::path& part : path) {
        const std::filesystem::path folder = walked;
        walked /= part;
        struct stat status{};
        if (::lstat(walked.c_str(), &status) != 0) return {};  // nothing below it is there
        if (!S_ISLNK(status.st_mode) || isTrusted(status, folder)) continue;
        return failure(Error(ErrorCase::file, "\"" + displayText(walked) +
                                                  "\" is a link that somebody else could have made; put a folder in "
                                                  "its place and try again."));
    }
    return {};
}

}  // namespace tovri
