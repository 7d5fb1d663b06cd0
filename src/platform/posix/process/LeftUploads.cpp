#include "platform/posix/process/LeftUploads.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tovri {
namespace {

constexpr std::string_view prefix = "tovri-upload-";

bool isUploadName(std::string_view name) {
    if (!name.starts_with(prefix)) return false;
    name.remove_prefix(prefix.size());
    pid_t process = 0;
    const auto read = std::from_chars(name.data(), name.data() + name.size(), process);
    return read.ec == std::errc() && process > 0 &&
           name.substr(static_cast<std::size_t>(read.ptr - name.data())).starts_with('-');
}

// While the lock is held nobody takes the file for their own.
void removeIfLeft(const std::filesystem::path& path) {
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status{};
    if (!file.isOpen() || ::fstat(file.number(), &status) != 0) return;
    if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) return;
    if (::flock(file.number(), LOCK_EX | LOCK_NB) == 0) (void)::unlink(path.c_str());
}

}  // namespace

std::string uploadPrefixOf(pid_t process) {
    return std::string(prefix) + std::to_string(process) + "-";
}

// Where the volume has no locks, what is left cannot be told and stays.
bool holdNewFile(const FileDescriptor& file) {
    struct stat status{};
    (void)retrying([&] { return ::flock(file.number(), LOCK_EX); });
    return ::fstat(file.number(), &status) != 0 || status.st_nlink > 0;
}

void removeLeftUploads(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        if (isUploadName(entry->path().filename().native())) removeIfLeft(entry->path());
    }
}

}  // namespace tovri
