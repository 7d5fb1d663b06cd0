#include "platform/posix/files/FileMove.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include <unistd.h>

#include "platform/PlacingNames.h"
#include "platform/posix/files/FileCopy.h"
#include "platform/posix/files/FileError.h"
#include "platform/posix/files/FileMark.h"
#include "platform/posix/folders/FolderPermissions.h"
#include "platform/posix/folders/TrustedFolder.h"

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

// In the open folder, whatever its name leads to by now; by the name where the system shows no open folders (proc(5)).
Path placeIn(const FileDescriptor& folder, const Path& path) {
    const bool isShown = ::access(entryOf(folder, {}).c_str(), F_OK) == 0;
    return isShown ? entryOf(folder, path.filename()) : path;
}

}  // namespace

FileMove::FileMove(Path from, Place to, NewFolders& folders, std::stop_token stop)
    : from_(std::move(from)),
      folder_(std::move(to.folder)),
      path_(std::move(to.path)),
      at_(placeIn(folder_, path_)),
      folders_(folders),
      stop_(std::move(stop)) {}

Result<void> FileMove::whereNothingStands() {
    const int failed = renameWhereNothingStands(from_, at_);
    if (failed == EXDEV) return betweenVolumes(Target::free);
    return fileOutcome(failed, "move the file to", path_);
}

Result<void> FileMove::over() {
    const auto replaced = statusOf(at_);
    if (replaced && S_ISDIR(replaced->st_mode)) return overFolder(*replaced);
    const auto source = statusOf(from_);
    if (!source) return failure(fileError("move", from_, errno));
    if (::rename(from_.c_str(), at_.c_str()) != 0) {
        if (errno == EXDEV) return betweenVolumes(Target::replaced);
        return failure(fileError("replace", path_, errno));
    }
    // Two names of one file: rename(2) leaves both.
    const auto left = statusOf(from_);
    if (left && left->st_ino == source->st_ino && from_ != path_) ::unlink(from_.c_str());
    return {};
}

Result<void> FileMove::betweenVolumes(Target target) {
    if (target == Target::free && statusOf(at_)) return failure(fileError("move the file to", path_, EEXIST));
    Result<NewFile> copy = durableCopy();
    if (!copy) return failure(copy);
    const int failed = target == Target::free ? copy->placeWhereNothingStands(at_) : copy->placeOver(at_);
    if (failed == 0) removeOriginal();
    return fileOutcome(failed, "move the file to", path_);
}

Result<NewFile> FileMove::durableCopy() {
    Result<NewFile> copy = copyOf(from_, gatheringPlace(from_, at_), stop_);
    if (!copy) return failure(asKnown(copy.error()));
    if (auto adopted = adoptFolderPermissions(copy->descriptor(), parentOf(at_)); !adopted)
        return failure(asKnown(adopted.error()));
    if (const int failed = setFileMark(copy->descriptor(), fileMark(from_)); failed != 0)
        return failure(fileError("mark", path_, failed));
    if (::fsync(copy->descriptor()) != 0) return failure(fileError("write", path_, errno));
    if (stop_.stop_requested()) return failure(Error::cancelled());
    return copy;
}

// A failure that names the open folder names its path instead.
Error FileMove::asKnown(Error error) const {
    const std::string open = displayText(parentOf(at_));
    const auto named = error.description.find(open);
    if (named != std::string::npos) error.description.replace(named, open.size(), displayText(parentOf(path_)));
    return error;
}

// Only a durable copy may cost the original.
void FileMove::removeOriginal() {
    if (folders_.makeNameDurable(path_) == 0) ::unlink(from_.c_str());
}

Result<void> FileMove::overFolder(const struct stat& folder) {
    const auto source = statusOf(from_);
    if (!source) return failure(fileError("move", from_, errno));
    if (source->st_dev == folder.st_dev && source->st_ino == folder.st_ino) return {};

    const bool mayRename = source->st_dev == folder.st_dev;
    int failed = mayRename ? makingWay([this] { return renameWhereNothingStands(from_, at_); }) : EXDEV;
    if (failed != EXDEV) return fileOutcome(failed, "replace", path_);
    Result<NewFile> copy = durableCopy();
    if (!copy) return failure(copy);
    failed = makingWay([&] { return copy->placeWhereNothingStands(at_); });
    if (failed == 0) removeOriginal();
    return fileOutcome(failed, "replace", path_);
}

// Does the placing once the folder has left its place. At every moment the folder has one of its two names.
int FileMove::makingWay(const std::function<int()>& place) {
    const long limit = ::pathconf(parentOf(at_).c_str(), _PC_NAME_MAX);
    const std::size_t longest = limit < 100 ? NAME_MAX : static_cast<std::size_t>(limit);
    Path aside;
    int failed = EEXIST;
    for (int number = 1; failed == EEXIST; ++number) {
        aside = replacedPath(at_, number, longest);
        failed = renameWhereNothingStands(at_, aside);
    }
    if (failed != 0) return failed;
    failed = place();
    if (failed != 0) static_cast<void>(renameWhereNothingStands(aside, at_));
    return failed;
}

}  // namespace tovri
