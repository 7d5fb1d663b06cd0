#pragma once

#include <optional>
#include <string>

#include "downloads/DownloadService.h"
#include "service/PutIOAPI.h"

namespace tovri {

// The engine's wishes as requests of the service's client, which it does not own.
class PutIODownloadService final : public DownloadService {
public:
    explicit PutIODownloadService(PutIOAPI& api) : api_(api) {}

    Task<Result<PutIOFile>> file(FileID fileID, std::stop_token stop) override;
    Task<Result<bool>> isAbsent(FileID entry, std::stop_token stop) override;
    Task<Result<FolderListing>> readFolder(FolderID folderID, std::stop_token stop) override;
    Task<Result<std::string>> account(std::stop_token stop) override;
    Task<Result<std::string>> downloadLink(FileID fileID, std::stop_token stop) override;
    Task<Result<void>> deleteFile(FileID entry, std::stop_token stop) override;

private:
    PutIOAPI& api_;
    std::optional<std::string> token_;  // whose account's name is known
    std::string account_;
};

}  // namespace tovri
