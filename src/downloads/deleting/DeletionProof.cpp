#include "downloads/deleting/DeletionProof.h"

#include "downloads/running/ArrivalProof.h"

namespace tovri {
namespace {

Error unproven(const std::string& reason) {
    return {ErrorCase::file, reason + " Nothing was deleted from put.io."};
}

// What was learned while the file arrived.
Result<void> checkArrival(const Download& item) {
    const std::string name = "\"" + item.fileName + "\"";
    if (!isListedSizeKnown(item)) return failure(unproven("put.io did not say how large " + name + " is."));
    const std::optional<std::string> difference = arrivalDifference(item);
    if (difference)
        return failure(Error(ErrorCase::file, item.folderGroupID ? name + ": " + *difference : *difference));
    if (item.durable == false) return failure(unproven("The disk has refused to keep " + name + "."));
    return {};
}

// What stands on the disk now; on the volume's thread.
struct LocalCopy {
    FileManager& files;
    std::shared_ptr<PlacementJournal> journal;
    std::filesystem::path path;
    ByteCount size;
    std::optional<Checksum> toBeRead;  // what the file's content must give, where nobody knows yet whether it does

    [[nodiscard]] Result<ByteCount> check() const {
        const auto found = files.fileSize(path);
        if (!found) return failure(unproven("\"" + path.native() + "\" is not there any more."));
        if (*found != size) return failure(unproven("\"" + path.native() + "\" has changed since it arrived."));
        if (Result<void> equal = compare(); !equal) return failure(equal);
        if (Result<void> durable = files.makeDurable(path); !durable) return failure(durable);
        journal->makeDurable();
        return *found;
    }

private:
    [[nodiscard]] Result<void> compare() const {
        constexpr std::size_t step = std::size_t{1} << 20U;
        if (!toBeRead) return {};
        auto file = files.openForReading(path);
        if (!file) return failure(file);
        Checksum checksum;
        while (true) {
            const Result<ByteBlob> bytes = (*file)->read(step);
            if (!bytes) return failure(Error(bytes.error()));
            if (bytes->empty()) break;
            checksum.add(*bytes);
        }
        if (checksum == *toBeRead) return {};
        return failure(unproven("The checksum of \"" + path.native() + "\" is not put.io's."));
    }
};

}  // namespace

Task<Result<void>> DeletionProof::prove(DownloadPointer item) {
    if (!item->resolvedURL) co_return failure(unproven("\"" + item->fileName + "\" is not there."));
    if (Result<void> arrived = checkArrival(*item); !arrived) co_return arrived;
    const std::filesystem::path path = *item->resolvedURL;
    LocalCopy copy{.files = files_, .journal = journal_, .path = path, .size = item->bytesDownloaded, .toBeRead = {}};
    if (!item->arrivedChecksum) copy.toBeRead = listedChecksum(*item);
    Result<std::string> lane = co_await lanes_.laneOf(path.parent_path(), {});
    if (!lane) co_return failure(lane);
    Result<ByteCount> checked =
        co_await onVolume<ByteCount>(loop_, volumes_, *lane, {}, [copy = std::move(copy)] { return copy.check(); });
    if (!checked) co_return failure(checked);
    co_return Result<void>();
}

}  // namespace tovri
