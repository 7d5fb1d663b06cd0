#include "platform/posix/files/FileMove.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>

#include <unistd.h>

#include "platform/PlacingNames.h"
#include "platform/posix/files/FileCopy.h"
#include "platform/posix/files/FileError.h"
#include "platform/posix/files/FileMark.h"
#include "platform/posix/folders/FolderPermissions.h"

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
    if (replaced && S_ISDIR(replaced->st_mode)) return overFolder(*replaced);
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
    if (target == Target::free && statusOf(to_)) return failure(fileError("move the file to", to_, EEXIST));
    Result<NewFile> copy = durableCopy();
    if (!copy) return failure(copy);
    const int failed = target == Target::free ? copy->placeWhereNothingStands(to_) : copy->placeOver(to_);
    if (failed == 0) removeOriginal();
    return fileOutcome(failed, "move the file to", to_);
}

Result<NewFile> FileMove::durableCopy() {
    Result<NewFile> copy = copyOf(from_, gatheringPlace(from_, to_), stop_);
    if (!copy) return copy;
    if (auto adopted = adoptFolderPermissions(copy->descriptor(), parentOf(to_)); !adopted) return failure(adopted);
    if (const int failed = setFileMark(copy->descriptor(), fileMark(from_)); failed != 0)
        return failure(fileError("mark", to_, failed));
    if (::fsync(copy->descriptor()) != 0) return failure(fileError("write", to_, errno));
    if (stop_.stop_requested()) return failure(Error::cancelled());
    return copy;
}

// Only a durable copy may cost the original.
void FileMove::removeOriginal() {
    if (folders_.makeNameDurable(to_) == 0) ::unlink(from_.c_str());
}

Result<void> FileMove::overFolder(const struct stat& folder) {
    const auto source = statusOf(from_);
    if (!source) return failure(fileError("move", from_, errno));
    if (source->st_dev == folder.st_dev && source->st_ino == folder.st_ino) return {};

    const bool mayRename = source->st_dev == folder.st_dev;
    int failed = mayRename ? makingWay([this] { return renameWhereNothingStands(from_, to_); }) : EXDEV;
    if (failed != EXDEV) return fileOutcome(failed, "replace", to_);
    Result<NewFile> copy = durableCopy();
    if (!copy) return failure(copy);
    failed = makingWay([&] { return copy->placeWhereNothingStands(to_); });
    if (failed == 0) removeOriginal();
    return fileOutcome(failed, "replace", to_);
}

// Does the placing once the folder has left its place. At every moment the folder has one of its two names.
int FileMove::makingWay(const std::function<int()>& place) {
    const long limit = ::pathconf(parentOf(to_).c_str(), _PC_NAME_MAX);
    const std::size_t longest = limit < 100 ? NAME_MAX : static_cast<std::size_t>(limit);
    Path aside;
    int failed = EEXIST;
    for (int number = 1; failed == EEXIST; ++number) {
        aside = replacedPath(to_, number, longest);
        failed = renameWhereNothingStands(to_, aside);
    }
    if (failed != 0) return failed;
    failed = place();
    if (failed != 0) static_cast<void>(renameWhereNothingStands(aside, to_));
    return failed;
}

}  // namespace tovri
