#include "downloads/placing/FilePlacing.h"

#include "downloads/placing/Destination.h"
#include "platform/ScopedFolderAccess.h"

namespace tovri {

using Path = std::filesystem::path;

Result<void> FilePlacing::checkSize() const {
    if (!exactSize) return {};
    const auto size = files.fileSize(staged);
    if (!size || *size == *exactSize) return {};
    return failure(Error(ErrorCase::file, "put.io announced " + std::to_string(*exactSize) + " bytes, but " +
                                              std::to_string(*size) +
                                              " arrived. Nothing was deleted from put.io; retry the download."));
}

template <class Move>
Result<void> FilePlacing::moveTo(const Path& target, Move move) const {
    const auto source = files.identity(staged);
    const auto folder = files.identity(target.parent_path());
    const bool crossesVolumes = !source || !folder || source->volume != folder->volume;
    if (crossesVolumes) (void)files.cloneFile(staged, witnessPath(staged));
    if (source) journal->note(placement, item, *source, staged, target);
    Result<void> moved = move();
    if (!crossesVolumes) return moved;
    if (const auto arrived = files.identity(target); moved && arrived)
        journal->note(placement, item, *arrived, staged, target);  // the file has become another one
    (void)files.removeItem(witnessPath(staged));
    return moved;
}

// The journal becomes durable with the file: the queue file learns of it only after put.io may have deleted it.
Result<Path> FilePlacing::madeDurable(const Path& target) const {
    if (!mustBeDurable) return target;
    if (Result<void> durable = files.makeDurable(target); !durable) return failure(durable);
    journal->makeDurable();
    return target;
}

Result<Path> FilePlacing::moveToFree(const Path& target, const std::stop_token& stop) const {
    Result<void> moved = moveTo(target, [&] { return files.moveItem(staged, target, stop); });
    if (!moved) return failure(moved);
    Result<Path> placed = madeDurable(target);
    if (!placed) (void)files.removeItem(target);
    return placed;
}

bool FilePlacing::isOnStagingVolume(const Path& target) const {
    const auto placed = files.identity(target);
    const auto staging = files.identity(staged.parent_path());
    return placed && staging && placed->volume == staging->volume;
}

Result<Path> FilePlacing::place(const std::stop_token& stop) const {
    if (Result<void> sized = checkSize(); !sized) return failure(sized);
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> created = files.createDirectories(destination.parent_path()); !created) return failure(created);
    Result<Path> placed = moveToFree(destination, stop);
    if (placed || placed.error().code != ErrorCase::alreadyExists) return placed;
    // It may wait for the user for days, and what it then replaces may be the only copy of something.
    if (Result<void> durable = files.makeDurable(staged); !durable) return failure(durable);
    return placed;
}

Result<Path> FilePlacing::apply(ConflictChoice choice, const std::stop_token& stop) const {
    if (choice == ConflictChoice::skip) {
        (void)files.removeItem(staged);
        return Path();
    }
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (choice == ConflictChoice::keepBoth) return keepBoth(stop);
    Result<void> replaced = moveTo(destination, [&] { return files.replaceItem(staged, destination, stop); });
    if (!replaced) return failure(replaced);
    return madeDurable(destination);
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
