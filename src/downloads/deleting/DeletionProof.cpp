#include "downloads/deleting/DeletionProof.h"

#include <algorithm>
#include <map>
#include <set>
#include <variant>

#include "downloads/partials/FileChecksum.h"
#include "downloads/running/ArrivalProof.h"

namespace tovri {
namespace {

using Path = std::filesystem::path;
using Original = BroughtFiles::Original;

Error unproven(const std::string& reason) {
    return {ErrorCase::unproven, reason};
}

Error gone(const Path& path) {
    return unproven("\"" + path.native() + "\" is not there any more.");
}

Error changed(const Path& path) {
    return unproven("\"" + path.native() + "\" has changed since it arrived.");
}

// What was learned while the file arrived.
Result<void> checkArrival(const Download& item) {
    const std::string name = "\"" + item.fileName + "\"";
    if (!isListedSizeKnown(item)) return failure(unproven("put.io did not say how large " + name + " is."));
    const std::optional<std::string> difference = arrivalDifference(item);
    if (difference) return failure(unproven(item.folderGroupID ? name + ": " + *difference : *difference));
    if (item.durable == false) return failure(unproven("The disk has refused to keep " + name + "."));
    return {};
}

// What stands on the disk now; on the volume's thread.
struct LocalCopy {
    FileManager& files;
    Path path;
    ByteCount size = 0;
    std::optional<FileStamp> asPlaced = {};  // none: nobody knows what became of its bytes since
    std::optional<Checksum> arrived = {};
    std::optional<Checksum> listed = {};

    [[nodiscard]] Result<ProvenFile> check() const {
        const auto stamp = files.stamp(path);
        if (!stamp) return failure(gone(path));
        if (stamp->size != size) return failure(changed(path));
        if (stamp != asPlaced)
            if (Result<void> same = readAgain(); !same) return failure(same);
        if (files.stamp(path) != stamp) return failure(changed(path));
        if (Result<void> durable = files.makeDurable(path); !durable) return failure(durable);
        return ProvenFile{path, *stamp};
    }

private:
    [[nodiscard]] Result<void> readAgain() const {
        if (!arrived && !listed) {
            if (!asPlaced) return {};  // its size is all that there is to compare
            return failure(changed(path));
        }
        const Result<Checksum> checksum = readChecksum(files, path);
        if (!checksum) return failure(Error(checksum.error()));
        if (arrived && *arrived != *checksum) return failure(changed(path));
        if (listed && *listed != *checksum)
            return failure(unproven("The checksum of \"" + path.native() + "\" is not put.io's."));
        return {};
    }
};

Result<void> checkUnchanged(FileManager& files, const ProvenFile& file) {
    const auto stamp = files.stamp(file.path);
    if (!stamp) return failure(gone(file.path));
    if (*stamp != file.stamp) return failure(changed(file.path));
    return {};
}

// The mark itself changes the stamp.
Result<void> markGone(FileManager& files, BroughtFiles& brought, ProvenFile& file) {
    if (Result<void> same = checkUnchanged(files, file); !same) return same;
    if (Result<void> marked = brought.mark(file.path, Original::gone); !marked) return marked;
    const auto stamp = files.stamp(file.path);
    if (!stamp) return failure(gone(file.path));
    if (stamp->identity != file.stamp.identity || stamp->size != file.stamp.size) return failure(changed(file.path));
    file.stamp = *stamp;
    return {};
}

Result<void> makeDurable(FileManager& files, const std::vector<ProvenFile>& proven) {
    std::vector<Path> paths;
    for (const ProvenFile& file : proven) paths.push_back(file.path);
    for (Result<void>& durable : files.makeAllDurable(paths))
        if (!durable) return std::move(durable);
    return {};
}

// The folders of the files, without those that are above another one.
std::set<Path> lowestFolders(const std::vector<ProvenFile>& files) {
    std::set<Path> folders;
    for (const ProvenFile& file : files) folders.insert(file.path.parent_path());
    std::set<Path> lowest = folders;
    for (const Path& folder : folders)
        for (Path above = folder; above.has_relative_path();) {
            above = above.parent_path();
            lowest.erase(above);
        }
    return lowest;
}

}  // namespace

Task<Result<ProvenFile>> DeletionProof::prove(DownloadPointer item) {
    if (!item->resolvedURL) co_return failure(unproven("\"" + item->fileName + "\" is not there."));
    if (Result<void> arrived = checkArrival(*item); !arrived) co_return failure(arrived);
    const LocalCopy copy{.files = files_,
                         .path = *item->resolvedURL,
                         .size = item->bytesDownloaded,
                         .asPlaced = item->placedAs,
                         .arrived = item->arrivedChecksum ? Checksum::parse(*item->arrivedChecksum) : std::nullopt,
                         .listed = listedChecksum(*item)};
    Result<std::string> lane = co_await lanes_.laneOf(copy.path.parent_path(), {});
    if (!lane) co_return failure(lane);
    Result<ProvenFile> proven =
        co_await onVolume<ProvenFile>(loop_, volumes_, *lane, {}, [copy] { return copy.check(); });
    co_return proven;
}

Task<Result<void>> DeletionProof::lookAgain(std::vector<ProvenFile> files) {
    Result<void> secured = co_await onEachVolume(files, securing());
    if (!secured) co_return secured;
    Result<void> unchanged = co_await onEachVolume(files, looking());
    if (!unchanged) co_await takeBack(std::move(files));
    co_return unchanged;
}

DeletionProof::Step DeletionProof::securing() const {
    return [&files = files_, journal = journal_](const std::vector<ProvenFile>& proven) -> Result<void> {
        for (const Path& folder : lowestFolders(proven))
            if (Result<void> durable = files.makeFolderDurable(folder); !durable) return durable;
        return journal->makeDurable();
    };
}

// First they count as the only copies, then they are looked at: what is placed after that finds them guarded.
DeletionProof::Step DeletionProof::looking() const {
    return [&files = files_, brought = brought_](const std::vector<ProvenFile>& proven) -> Result<void> {
        for (const ProvenFile& each : proven)
            if (Result<void> noted = brought->note(each.path, each.stamp, Original::gone); !noted) return noted;
        if (Result<void> durable = brought->makeDurable(); !durable) return durable;
        std::vector<ProvenFile> marked = proven;
        for (ProvenFile& each : marked)
            if (Result<void> known = markGone(files, *brought, each); !known) return known;
        if (Result<void> durable = makeDurable(files, marked); !durable) return durable;
        for (const ProvenFile& each : marked)
            if (Result<void> same = checkUnchanged(files, each); !same) return same;
        return {};
    };
}

Task<> DeletionProof::takeBack(std::vector<ProvenFile> files) {
    const Step step = [&files = files_, brought = brought_](const std::vector<ProvenFile>& proven) -> Result<void> {
        for (const ProvenFile& each : proven) {
            (void)brought->note(each.path, each.stamp, Original::kept);
            if (!files.mark(each.path).empty()) (void)brought->mark(each.path, Original::kept);
        }
        return {};
    };
    co_await onEachVolume(std::move(files), step);
}

Task<> DeletionProof::release(std::vector<Path> paths) {
    const Step step = [brought = brought_](const std::vector<ProvenFile>& released) -> Result<void> {
        for (const ProvenFile& each : released) {
            brought->forget(each.path);
            (void)brought->mark(each.path, std::nullopt);
        }
        return {};
    };
    std::vector<ProvenFile> files;
    for (Path& path : paths) files.push_back({std::move(path), {}});
    co_await onEachVolume(std::move(files), step);
}

Task<Result<void>> DeletionProof::onEachVolume(std::vector<ProvenFile> files, Step step) {
    using Done = std::monostate;
    std::map<std::string, std::vector<ProvenFile>> byLane;
    for (ProvenFile& file : files) {
        Result<std::string> lane = co_await lanes_.laneOf(file.path.parent_path(), {});
        if (!lane) co_return failure(lane);
        byLane[*lane].push_back(std::move(file));
    }
    for (auto& [lane, ofOneVolume] : byLane) {
        auto work = [step, group = std::move(ofOneVolume)]() -> Result<Done> {
            if (Result<void> taken = step(group); !taken) return failure(taken);
            return Done();
        };
        Result<Done> done = co_await onVolume<Done>(loop_, volumes_, lane, {}, std::move(work));
        if (!done) co_return failure(done);
    }
    co_return Result<void>();
}

}  // namespace tovri
