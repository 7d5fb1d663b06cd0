#include "downloads/listing/FolderWalk.h"

#include <iterator>
#include <utility>

#include "downloads/placing/Destination.h"

namespace tovri {
namespace {

// What a queue item is made of: the rest of a record would only take room in a long listing.
PutIOFile essence(PutIOFile&& entry) {
    PutIOFile file;
    file.id = entry.id;
    file.name = std::move(entry.name);
    file.size = entry.size;
    file.crc32 = std::move(entry.crc32);
    file.fileType = entry.fileType;
    return file;
}

}  // namespace

Task<Result<std::vector<ListedFile>>> FolderWalk::collectFiles(FolderID folderID, std::filesystem::path destination,
                                                               std::stop_token stop) {
    if (!open_.insert(folderID).second)
        co_return failure(Error(ErrorCase::invalidResponse, "put.io lists a folder inside itself."));
    Result<FolderListing> listing = co_await service_.readFolder(folderID, stop);
    if (!listing) co_return failure(listing);
    if (Result<void> noted = note(listing->cut); !noted) co_return failure(noted);

    std::vector<ListedFile> found;
    for (std::size_t index = 0; index < listing->files.size(); ++index) {
        PutIOFile& entry = listing->files[index];
        const bool wasKeptBack = index >= listing->firstPageSize;
        if (entry.fileType != PutIOFile::FileType::folder) {
            found.push_back({essence(std::move(entry)), destination, wasKeptBack});
            continue;
        }
        Result<std::vector<ListedFile>> below =
            co_await collectFiles(folderOf(entry.id), subfolder(destination, entry.name), stop);
        if (!below) co_return failure(below);
        if (wasKeptBack)
            for (ListedFile& each : *below) each.wasKeptBack = true;
        std::ranges::move(*below, std::back_inserter(found));
    }
    open_.erase(folderID);
    co_return found;
}

Result<void> FolderWalk::note(const std::optional<Error>& cut) {
    if (!cut) return {};
    cut_ = cut;
    cut_->description = cutListingText("a folder", cut->description);
    if (cut->code == ErrorCase::turnedOff) return {};
    return failure(*cut_);
}

}  // namespace tovri
