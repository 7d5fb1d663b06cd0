#include "platform/posix/process/LeftUploads.h"

#include <cerrno>
#include <charconv>
#include <csignal>
#include <optional>
#include <string_view>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace tovri {
namespace {

constexpr std::string_view prefix = "tovri-upload-";

std::optional<pid_t> processOf(std::string_view name) {
    if (!name.starts_with(prefix)) return std::nullopt;
    name.remove_prefix(prefix.size());
    pid_t process = 0;
    const auto read = std::from_chars(name.data(), name.data() + name.size(), process);
    const bool isWhole = read.ec == std::errc() && process > 0 &&
                         name.substr(static_cast<std::size_t>(read.ptr - name.data())).starts_with('-');
    return isWhole ? std::optional(process) : std::nullopt;
}

bool isGone(pid_t process) {
    return ::kill(process, 0) != 0 && errno == ESRCH;
}

bool isOwnFile(const std::filesystem::path& path) {
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
}

}  // namespace

std::string uploadPrefixOf(pid_t process) {
    return std::string(prefix) + std::to_string(process) + "-";
}

void removeLeftUploads(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::optional<pid_t> process = processOf(entry->path().filename().native());
        if (process && isGone(*process) && isOwnFile(entry->path())) (void)::unlink(entry->path().c_str());
    }
}

}  // namespace tovri
