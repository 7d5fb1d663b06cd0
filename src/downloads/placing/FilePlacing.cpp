#include "downloads/placing/FilePlacing.h"

#include "downloads/placing/Destination.h"
#include "platform/ScopedFolderAccess.h"

namespace tovri {

using Path = std::filesystem::path;

template <class Move>
Result<void> FilePlacing::moveTo(const Path& target, Move move) const {
    const auto source = files.identity(received);
    const auto folder = files.identity(target.parent_path());
    const bool crossesVolumes = !source || !folder || source->volume != folder->volume;
    // A copy takes on the folder's permissions by itself. A file system that has none keeps the file as it is.
    if (!crossesVolumes) (void)files.adoptFolderPermissions(received, target.parent_path());
    // Also one that was meant for an item with its deletion may take its place for another now.
    (void)brought->mark(received, isDeletedLater ? std::optional(BroughtFiles::Original::kept) : std::nullopt);
    // Whoever finds the name after a loss of power may rely on the bytes.
    if (!crossesVolumes && isDeletedLater)
        if (Result<void> durable = files.makeDurable(received); !durable) return durable;
    if (crossesVolumes) (void)files.cloneFile(received, witnessPath(received));
    if (source) note(*source, target);
    Result<void> moved = move();
    if (moved) noteBrought(target);
    // It has become another one; also within a volume where the system refuses to move it, as between two mounts.
    if (const auto arrived = files.identity(target); moved && arrived && arrived != source) note(*arrived, target);
    if (crossesVolumes) (void)files.removeItem(witnessPath(received));
    return moved;
}

void FilePlacing::note(const FileIdentity& file, const Path& target) const {
    journal->note({placement, item, file, received, target, arrival});
}

void FilePlacing::noteBrought(const Path& target) const {
    const auto stamp = isDeletedLater ? files.stamp(target) : std::nullopt;
    if (stamp)
        (void)brought->note(target, *stamp, BroughtFiles::Original::kept);
    else
        brought->forget(target);
}

bool FilePlacing::mayReplace() const {
    const auto original = brought->find(destination);
    if (!original || consent == ReplaceConsent::informed) return true;
    return consent == ReplaceConsent::user && *original == BroughtFiles::Original::kept;
}

Result<Path> FilePlacing::moveToFree(const Path& target, const std::stop_token& stop) const {
    Result<void> moved = moveTo(target, [&] { return files.moveItem(received, target, stop); });
    if (!moved) return failure(moved);
    if (!stop.stop_requested()) return target;
    (void)files.removeItem(target);  // it has come under a name of its own, and nobody wants it any more
    return failure(Error::cancelled());
}

// A disk that went away while the file came is no reason to make its folders anew beneath its mount point.
Result<void> FilePlacing::checkVolume() const {
    if (!volume) return {};
    Path folder = destination.parent_path();
    auto identity = files.identity(folder);
    for (; !identity && folder.has_relative_path(); identity = files.identity(folder)) folder = folder.parent_path();
    if (!identity || identity->volume == *volume) return {};
    return failure(Error(ErrorCase::otherVolume, "The disk of \"" + destination.parent_path().native() +
                                                     "\" is gone; connect it again and try once more."));
}

Result<Path> FilePlacing::place(const std::stop_token& stop) const {
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> expected = checkVolume(); !expected) return failure(expected);
    if (Result<void> created = files.createDirectories(destination.parent_path()); !created) return failure(created);
    // A file that is going to wait for the user stays private.
    if (files.exists(destination)) return failure(Error(ErrorCase::alreadyExists, "The name is taken."));
    return moveToFree(destination, stop);
}

Result<Path> FilePlacing::takePlaceOf(const FileStamp& former, const std::stop_token& stop) const {
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> expected = checkVolume(); !expected) return failure(expected);
    if (files.stamp(destination) != former || !mayReplace())
        return failure(Error(ErrorCase::alreadyExists, "The name is taken."));
    Result<Path> replaced = replace(stop);
    return replaced;
}

Result<Path> FilePlacing::apply(ConflictChoice choice, const std::stop_token& stop) const {
    if (choice == ConflictChoice::skip) {
        (void)files.removeFile(received);
        return Path();
    }
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> expected = checkVolume(); !expected) return failure(expected);
    if (choice == ConflictChoice::keepBoth || !mayReplace()) return keepBoth(stop);
    return replace(stop);
}

Result<Path> FilePlacing::replace(const std::stop_token& stop) const {
    // What it replaces may be the only copy of something.
    if (Result<void> durable = files.makeDurable(received); !durable) return failure(durable);
    Result<void> replaced = moveTo(destination, [&] { return files.replaceItem(received, destination, stop); });
    if (!replaced) return failure(replaced);
    return destination;
}

// The move itself finds out whether a name is free, so that a file that appears meanwhile is safe.
Result<Path> FilePlacing::keepBoth(const std::stop_token& stop) const {
    for (int number = 1;; ++number) {
        const Path candidate = numberedDestination(destination, number);
        if (files.exists(candidate)) continue;
        Result<Path> placed = moveToFree(candidate, stop);
        if (placed || placed.error().code != ErrorCase::alreadyExists) return placed;
    }
}

}  // namespace tovri
