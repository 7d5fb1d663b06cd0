#include "platform/posix/files/PosixEntryLook.h"

#include <algorithm>

#include <sys/stat.h>

namespace tovri {
namespace {

// A file may have any date, also one that the clock cannot have.
Timestamp timestampOf(const timespec& time) {
    using std::chrono::seconds;
    constexpr auto most = std::chrono::floor<seconds>(Timestamp::duration::max()) - seconds(1);
    const Timestamp whole(std::clamp(seconds(time.tv_sec), -most, most));
    return whole + std::chrono::nanoseconds(time.tv_nsec);
}

}  // namespace

std::optional<EntryFacts> PosixEntryLook::look(const std::filesystem::path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    EntryFacts facts{.size = {}, .modified = timestampOf(status.st_mtim), .isFolder = S_ISDIR(status.st_mode)};
    if (S_ISREG(status.st_mode)) facts.size = status.st_size;
    return facts;
}

}  // namespace tovri
