#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "base/Task.h"
#include "service/PutIOAPI.h"

namespace tovri::cli {

// How a user names something on put.io.
struct RemotePath {
    std::optional<std::int64_t> id;  // digits only
    std::vector<std::string> names;  // from the top folder on; none for the top folder itself
};

[[nodiscard]] RemotePath parseRemotePath(const std::string& text);

// Finds files and folders by their names, one listing per folder on the way; names are compared byte for byte. Each
// folder is asked for once, so it lives no longer than a command.
class RemoteTree {
public:
    // `api` outlives this.
    explicit RemoteTree(PutIOAPI& api) : api_(api) {}

    // The record of what the text names. An error says where the way ended.
    Task<Result<PutIOFile>> find(std::string text, std::stop_token stop);

    // The same where the ID is enough: a numeric ID is taken as it is.
    Task<Result<std::int64_t>> findID(std::string text, std::stop_token stop);

    // A folder, or the error that it is none.
    Task<Result<PutIOFile>> findFolder(std::string text, std::stop_token stop);

    // The service's listing of a folder as long as this lives.
    Task<Result<std::vector<PutIOFile>>> list(std::int64_t folderID, std::stop_token stop);

private:
    Task<Result<PutIOFile>> findByID(std::int64_t id, std::stop_token stop);
    Task<Result<PutIOFile>> search(std::int64_t id, std::stop_token stop);

    PutIOAPI& api_;
    std::map<std::int64_t, std::vector<PutIOFile>> listings_;
};

// The top folder of an account.
[[nodiscard]] PutIOFile rootFolder();

}  // namespace tovri::cli
