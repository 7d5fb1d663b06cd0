#include "platform/posix/FileMove.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/FileManager.h"
#include "platform/posix/FileCopy.h"
#include "platform/posix/FileError.h"

namespace tovri {

using Path = std::filesystem::path;

namespace {

std::optional<struct stat> statusOf(const Path& path) {
    struct stat status{};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    return status;
}

// Where a file is gathered before it takes its name on another volume.
Path gatheringPlace(const Path& from, const Path& to) {
    const Path place = parentOf(to) / gatheringPath(from, to).filename();
    return place.filename().native().size() > NAME_MAX ? hiddenPath(parentOf(to)) : place;
}

}  // namespace

Result<void> FileMove::whereNothingStands() {
    const int failed = renameWhereNothingStands(from_, to_);
    if (failed == EXDEV) return betweenVolumes(Target::free);
    return fileOutcome(failed, "move the file to", to_);
}

Result<void> FileMove::over() {
    const auto replaced = statusOf(to_);
    if (replaced && S_ISDIR(replaced->st_mode)) return overFolder();
    const auto source = statusOf(from_);
    if (!source) return failure(fileError("move", from_, errno));
    if (::rename(from_.c_str(), to_.c_str()) != 0) {
        if (errno == EXDEV) return betweenVolumes(Target::replaced);
        return failure(fileError("replace", to_, errno));
    }
    // Two names of one file: rename(2) leaves both.
    const auto left = statusOf(from_);
    if (left && left->st_ino == source->st_ino && from_ != to_) ::unlink(from_.c_str());
    return {};
}

Result<void> FileMove::betweenVolumes(Target target) {
    if (auto copied = copyTo(to_, target); !copied) return copied;
    // Only a durable copy may cost the original.
    if (folders_.makeNameDurable(to_) == 0) ::unlink(from_.c_str());
    return {};
}

Result<void> FileMove::copyTo(const Path& place, Target target) {
    if (target == Target::free && statusOf(place)) return failure(fileError("move the file to", place, EEXIST));
    Result<NewFile> copy = copyOf(from_, gatheringPlace(from_, place), stop_);
    if (!copy) return failure(copy);
    if (::fsync(copy->descriptor()) != 0) return failure(fileError("write", place, errno));
    if (stop_.stop_requested()) return failure(Error::cancelled());
    const int failed = target == Target::free ? copy->placeWhereNothingStands(place) : copy->placeOver(place);
    return fileOutcome(failed, "move the file to", place);
}

// File and folder change places, then the folder goes.
Result<void> FileMove::overFolder() {
    Path gone = from_;  // where the folder is after the exchange
    int failed = exchangeEntries(from_, to_);
    if (failed == EXDEV) {
        gone = gatheringPlace(from_, to_);
        if (auto arrived = copyTo(gone, Target::replaced); !arrived) return arrived;
        failed = exchangeEntries(gone, to_);
        if (failed != 0) ::unlink(gone.c_str());
        if (failed == 0 && folders_.makeNameDurable(to_) == 0) ::unlink(from_.c_str());
    }
    if (failed != 0) return failure(fileError("replace", to_, failed));
    std::error_code ignored;
    std::filesystem::remove_all(gone, ignored);
    return {};
}

}  // namespace tovri
