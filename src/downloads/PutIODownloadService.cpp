#include "downloads/PutIODownloadService.h"

#include "service/ConfirmedDeletion.h"

namespace tovri {

Task<Result<PutIOFile>> PutIODownloadService::file(FileID fileID, std::stop_token stop) {
    // The answer has the form of an upload's.
    Result<PutIOAPI::UploadResponse> answer =
        co_await api_.get<PutIOAPI::UploadResponse>("/files/" + fileID.text(), {}, std::move(stop));
    if (!answer) co_return failure(answer);
    co_return std::move(answer->file);
}

Task<Result<bool>> PutIODownloadService::isAbsent(FileID entry, std::stop_token stop) {
    return api_.isAbsent(entry, std::move(stop));
}

Task<Result<FolderListing>> PutIODownloadService::readFolder(FolderID folderID, std::stop_token stop) {
    return api_.readFolder(folderID, std::move(stop));
}

// Asked once for each token.
Task<Result<std::string>> PutIODownloadService::account(std::stop_token stop) {
    const std::optional<std::string> token = api_.token();
    if (token && token == token_) co_return account_;
    Result<PutIOAccountResponse> answer = co_await api_.get<PutIOAccountResponse>("/account/info", {}, std::move(stop));
    if (!answer) co_return failure(answer);
    if (token == api_.token()) {
        token_ = token;
        account_ = answer->info.username;
    }
    co_return std::move(answer->info.username);
}

Task<Result<std::string>> PutIODownloadService::downloadLink(FileID fileID, std::stop_token stop) {
    return api_.getDownloadURL(fileID, std::move(stop));
}

Task<Result<void>> PutIODownloadService::deleteFile(FileID entry, std::stop_token stop) {
    return deleteConfirmed(&api_, {entry}, std::move(stop));
}

}  // namespace tovri
