#pragma once

#include <stop_token>
#include <string>

#include "base/Result.h"
#include "base/Task.h"
#include "service/FolderListing.h"
#include "service/records/PutIOFile.h"

namespace tovri {

// What the download engine asks of put.io, and all that it needs to know of it.
class DownloadService {
public:
    virtual ~DownloadService() = default;

    // What put.io says of the file now. One that is not there is a failure.
    virtual Task<Result<PutIOFile>> file(FileID fileID, std::stop_token stop) = 0;

    // Whether put.io itself says that it has no such file or folder. What leaves a doubt is a failure.
    virtual Task<Result<bool>> isAbsent(FileID entry, std::stop_token stop) = 0;

    // All that a folder holds, as far as it can be had.
    virtual Task<Result<FolderListing>> readFolder(FolderID folderID, std::stop_token stop) = 0;

    // The name of the account that is signed in.
    virtual Task<Result<std::string>> account(std::stop_token stop) = 0;

    // An address from which the file's bytes come without a token.
    virtual Task<Result<std::string>> downloadLink(FileID fileID, std::stop_token stop) = 0;

    // A file, or a folder with all that it holds. A failure unless put.io confirms it.
    virtual Task<Result<void>> deleteFile(FileID entry, std::stop_token stop) = 0;
};

}  // namespace tovri
