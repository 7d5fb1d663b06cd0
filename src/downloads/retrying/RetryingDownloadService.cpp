#include "downloads/retrying/RetryingDownloadService.h"

#include <utility>

namespace tovri {
namespace {

template <class T>
const Error* failureIn(const Result<T>& answer) {
    return answer ? nullptr : &answer.error();
}

// A listing that has only its beginning has failed too, as long as there is hope for the rest.
const Error* failureIn(const Result<FolderListing>& answer) {
    if (answer) return answer->cut ? &*answer->cut : nullptr;
    return &answer.error();
}

}  // namespace

template <class T>
Task<Result<T>> RetryingDownloadService::persist(std::function<Task<Result<T>>()> ask, std::stop_token stop) {
    while (true) {
        Result<HostBrake::Pass> pass = co_await tries_.begin(HostBrakes::service, stop);
        if (!pass) co_return failure(pass);
        Result<T> answer = co_await ask();
        const Error* const error = failureIn(answer);
        if (!error) {
            pass->succeeded();
            tries_.succeeds();
            co_return answer;
        }
        if (error->isCancellation() || !tries_.mayTryAgain(std::move(*pass), *error)) co_return answer;
    }
}

Task<Result<PutIOFile>> RetryingDownloadService::file(FileID fileID, std::stop_token stop) {
    return persist<PutIOFile>([this, fileID, stop] { return service_.file(fileID, stop); }, stop);
}

Task<Result<bool>> RetryingDownloadService::isAbsent(FileID entry, std::stop_token stop) {
    return persist<bool>([this, entry, stop] { return service_.isAbsent(entry, stop); }, stop);
}

Task<Result<FolderListing>> RetryingDownloadService::readFolder(FolderID folderID, std::stop_token stop) {
    return persist<FolderListing>([this, folderID, stop] { return service_.readFolder(folderID, stop); }, stop);
}

Task<Result<std::string>> RetryingDownloadService::account(std::stop_token stop) {
    return service_.account(std::move(stop));
}

Task<Result<std::string>> RetryingDownloadService::downloadLink(FileID fileID, std::stop_token stop) {
    return persist<std::string>([this, fileID, stop] { return service_.downloadLink(fileID, stop); }, stop);
}

Task<Result<void>> RetryingDownloadService::deleteFile(FileID entry, std::stop_token stop) {
    return service_.deleteFile(entry, std::move(stop));
}

}  // namespace tovri
