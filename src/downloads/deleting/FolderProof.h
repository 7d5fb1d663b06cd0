#pragma once

#include <cstdint>
#include <stop_token>
#include <vector>

#include "base/Task.h"
#include "downloads/DownloadService.h"
#include "downloads/list/Download.h"

namespace tovri {

// Shows that a put.io folder, which goes with all that it holds, holds nothing but the files of certain items.
class FolderProof {
public:
    // `service` outlives the proof.
    explicit FolderProof(DownloadService& service) : service_(service) {}

    // Every file below the folder is one of these items', as it was when it arrived. ErrorCase::unproven when it is
    // not, or when nobody can see all of them: also where put.io has an item's file and does not list it. Otherwise
    // fails as the listing does, or as the look-up of such a file.
    Task<Result<void>> prove(FolderID folderID, std::vector<DownloadPointer> members, std::stop_token stop);

private:
    DownloadService& service_;
};

}  // namespace tovri
