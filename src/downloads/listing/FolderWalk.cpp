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
    file.fileType = entry.fileType;
    return file;
}

}  // namespace

Task<Result<std::vector<ListedFile>>> FolderWalk::collectFiles(std::int64_t folderID, std::filesystem::path destination,
                                                               std::stop_token stop) {
    if (!open_.insert(folderID).second)
        co_return failure(Error(ErrorCase::invalidResponse, "put.io lists a folder inside itself."));
    Result<PutIOFileList> listing = co_await api_.listFolder(folderID, stop);
    if (!listing) co_return failure(listing);
    isComplete_ = isComplete_ && listing->isComplete();

    std::vector<ListedFile> found;
    for (PutIOFile& entry : listing->files) {
        if (entry.fileType != PutIOFile::FileType::folder) {
            found.push_back({essence(std::move(entry)), destination});
            continue;
        }
        Result<std::vector<ListedFile>> below =
            co_await collectFiles(entry.id, subfolder(destination, entry.name), stop);
        if (!below) co_return failure(below);
        std::ranges::move(*below, std::back_inserter(found));
    }
    open_.erase(folderID);
    co_return found;
}

}  // namespace tovri
