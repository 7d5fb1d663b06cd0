#pragma once

#include <cstdint>
#include <filesystem>
#include <stop_token>
#include <unordered_set>
#include <vector>

#include "base/Task.h"
#include "service/PutIOAPI.h"

namespace tovri {

struct ListedFile {
    PutIOFile file;                // its ID, name, size and type
    std::filesystem::path folder;  // local; the file's own put.io folder below the walk's destination
};

// Lists a put.io folder and everything below it, depth first, with one request per folder.
class FolderWalk {
public:
    // `api` outlives the walk.
    explicit FolderWalk(PutIOAPI& api) : api_(api) {}

    // Files in listing order. Fails as the first request that fails; a folder that is listed below itself is a failure.
    Task<Result<std::vector<ListedFile>>> collectFiles(std::int64_t folderID, std::filesystem::path destination,
                                                       std::stop_token stop);

    // False when the service listed only the beginning of a folder: the files that it kept back are unknown.
    [[nodiscard]] bool isComplete() const { return isComplete_; }

private:
    PutIOAPI& api_;
    bool isComplete_ = true;
    std::unordered_set<std::int64_t> open_;  // the folders between the top and where the walk is
};

}  // namespace tovri
