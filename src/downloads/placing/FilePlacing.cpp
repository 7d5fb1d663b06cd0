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
    if (crossesVolumes) (void)files.cloneFile(received, witnessPath(received));
    if (source) journal->note(placement, item, *source, received, target);
    Result<void> moved = move();
    if (!crossesVolumes) return moved;
    if (const auto arrived = files.identity(target); moved && arrived)
        journal->note(placement, item, *arrived, received, target);  // the file has become another one
    (void)files.removeItem(witnessPath(received));
    return moved;
}

Result<Path> FilePlacing::moveToFree(const Path& target, const std::stop_token& stop) const {
    Result<void> moved = moveTo(target, [&] { return files.moveItem(received, target, stop); });
    if (!moved) return failure(moved);
    if (!stop.stop_requested()) return target;
    (void)files.removeItem(target);  // it has come under a name of its own, and nobody wants it any more
    return failure(Error::cancelled());
}

Result<Path> FilePlacing::place(const std::stop_token& stop) const {
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> created = files.createDirectories(destination.parent_path()); !created) return failure(created);
    // A file that is going to wait for the user stays private.
    if (files.exists(destination)) return failure(Error(ErrorCase::alreadyExists, "The name is taken."));
    return moveToFree(destination, stop);
}

Result<Path> FilePlacing::apply(ConflictChoice choice, const std::stop_token& stop) const {
    if (choice == ConflictChoice::skip) {
        (void)files.removeItem(received);
        return Path();
    }
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (choice == ConflictChoice::keepBoth) return keepBoth(stop);
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
