#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <unordered_set>
#include <vector>

#include "base/Task.h"
#include "downloads/DownloadService.h"

namespace tovri {

struct ListedFile {
    PutIOFile file;                // its ID, name, size and type
    std::filesystem::path folder;  // local; the file's own put.io folder below the walk's destination
    bool wasKeptBack = false;      // a first answer about a folder says nothing of it
};

// Lists a put.io folder and everything below it, depth first, with one request per folder, and one more for each
// further page of it.
class FolderWalk {
public:
    // `service` outlives the walk.
    explicit FolderWalk(DownloadService& service) : service_(service) {}

    // Files in listing order. Fails as the first request that fails; a folder that is listed below itself is a failure.
    // So is one that cannot be read to its end, unless the user does not want that.
    Task<Result<std::vector<ListedFile>>> collectFiles(FolderID folderID, std::filesystem::path destination,
                                                       std::stop_token stop);

    // False when only the beginning of a folder was read: the files that the service kept back are unknown. Whoever
    // relies on having seen all, as for a deletion, must not go on then.
    [[nodiscard]] bool isComplete() const { return !cut_; }

    // Why it is not complete.
    [[nodiscard]] const std::optional<Error>& cut() const { return cut_; }

private:
    [[nodiscard]] Result<void> note(const std::optional<Error>& cut);

    DownloadService& service_;
    std::optional<Error> cut_;
    std::unordered_set<FolderID> open_;  // the folders between the top and where the walk is
};

}  // namespace tovri
