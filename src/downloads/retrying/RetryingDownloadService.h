#pragma once

#include <functional>

#include "downloads/DownloadService.h"
#include "downloads/retrying/Tries.h"

namespace tovri {

// Asks the service again where trying again may mend a failure. Only questions are repeated: a deletion whose answer
// was lost may have been done.
class RetryingDownloadService final : public DownloadService {
public:
    // Both outlive this.
    RetryingDownloadService(DownloadService& service, Tries& tries) : service_(service), tries_(tries) {}

    Task<Result<PutIOFile>> file(FileID fileID, std::stop_token stop) override;
    Task<Result<bool>> isAbsent(FileID entry, std::stop_token stop) override;
    Task<Result<FolderListing>> readFolder(FolderID folderID, std::stop_token stop) override;
    Task<Result<std::string>> account(std::stop_token stop) override;
    Task<Result<std::string>> downloadLink(FileID fileID, std::stop_token stop) override;
    Task<Result<void>> deleteFile(FileID entry, std::stop_token stop) override;

private:
    template <class T>
    Task<Result<T>> persist(std::function<Task<Result<T>>()> ask, std::stop_token stop);

    DownloadService& service_;
    Tries& tries_;
};

}  // namespace tovri
