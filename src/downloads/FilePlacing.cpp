#include "downloads/FilePlacing.h"

#include "downloads/Destination.h"
#include "platform/ScopedFolderAccess.h"

namespace tovri {

using Path = std::filesystem::path;

Result<void> FilePlacing::checkSize() const {
    const auto size = files.fileSize(staged);
    if (!exactSize || !size || *size == *exactSize) return {};
    return failure(Error(ErrorCase::file, "put.io announced " + std::to_string(*exactSize) + " bytes, but " +
                                              std::to_string(*size) +
                                              " arrived. Nothing was deleted from put.io; retry the download."));
}

template <class Move>
Result<Path> FilePlacing::moveTo(const Path& target, Move move) const {
    const auto identity = files.identity(staged);
    journal->note(item, staged, target);
    Result<void> moved = move();
    if (!moved) return failure(moved);
    // Between volumes the file has become another one.
    if (files.identity(target) != identity) journal->note(item, staged, target);
    if (!mustBeDurable) return target;
    Result<void> durable = files.makeDurable(target);
    if (!durable) return failure(durable);
    return target;
}

Result<Path> FilePlacing::place(const std::stop_token& stop) const {
    if (Result<void> sized = checkSize(); !sized) return failure(sized);
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (Result<void> created = files.createDirectories(destination.parent_path()); !created) return failure(created);
    return moveTo(destination, [&] { return files.moveItem(staged, destination, stop); });
}

Result<Path> FilePlacing::apply(ConflictChoice choice, const std::stop_token& stop) const {
    if (choice == ConflictChoice::skip) {
        (void)files.removeItem(staged);
        return Path();
    }
    const ScopedFolderAccess access(folderAccess, bookmark.get());
    if (choice == ConflictChoice::keepBoth) return keepBoth(stop);
    return moveTo(destination, [&] { return files.replaceItem(staged, destination, stop); });
}

// The move itself finds out whether a name is free, so that a file that appears meanwhile is safe.
Result<Path> FilePlacing::keepBoth(const std::stop_token& stop) const {
    for (int number = 1;; ++number) {
        const Path candidate = numberedDestination(destination, number);
        if (files.exists(candidate)) continue;
        Result<Path> placed = moveTo(candidate, [&] { return files.moveItem(staged, candidate, stop); });
        if (placed || placed.error().code != ErrorCase::alreadyExists) return placed;
    }
}

}  // namespace tovri
