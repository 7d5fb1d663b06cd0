#pragma once

#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

#include "base/Task.h"
#include "service/PutIOAPI.h"

namespace tovri::cli {

// How a user names something on put.io.
struct RemotePath {
    std::optional<FileID> id;        // digits only
    std::vector<std::string> names;  // from the top folder on; none for the top folder itself
};

[[nodiscard]] RemotePath parseRemotePath(const std::string& text);

// Finds files and folders by their names, one listing per folder on the way; names are compared byte for byte. Each
// folder is asked for once, so it lives no longer than a command. Where the rest of a folder could not be read, no name
// is found in it: another entry of that name may be in the rest.
class RemoteTree {
public:
    // `api` outlives this.
    explicit RemoteTree(PutIOAPI& api) : api_(api) {}

    // The record of what the text names. An error says where the way ended.
    Task<Result<PutIOFile>> find(std::string text, std::stop_token stop);

    // The same where the ID is enough: a numeric ID is taken as it is.
    Task<Result<FileID>> findID(std::string text, std::stop_token stop);

    // A folder, or the error that it is none.
    Task<Result<PutIOFile>> findFolder(std::string text, std::stop_token stop);

    // The folder as far as it could be read, the same as long as this lives.
    Task<Result<FolderListing>> list(FolderID folderID, std::stop_token stop);

private:
    Task<Result<PutIOFile>> findByID(FileID id, std::stop_token stop);
    Task<Result<PutIOFile>> search(FileID id, std::stop_token stop);

    PutIOAPI& api_;
    std::map<FolderID, FolderListing> listings_;
};

// Why the listing has only the beginning of the folder, as a sentence that names it; none when it is whole.
[[nodiscard]] std::optional<Error> cutError(const FolderListing& listing, std::string_view folder);

// The top folder of an account.
[[nodiscard]] PutIOFile rootFolder();

}  // namespace tovri::cli
