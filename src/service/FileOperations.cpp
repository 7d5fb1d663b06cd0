// The operations of PutIOAPI on the files of the account.

#include <algorithm>
#include <variant>

#include "service/PutIOAPI.h"
#include "service/records/IDList.h"
#include "service/records/ListingContinuation.h"
#include "service/records/PutIOFileList.h"
#include "service/records/Transfer.h"
#include "service/requests/APIError.h"
#include "service/requests/MultipartUpload.h"
#include "service/requests/WebURL.h"

namespace tovri {
namespace {

// The service keeps no torrent file: it starts a transfer and answers with that.
Error uploadFailure(Error decoderError, std::string_view body) {
    if (!decodeJSON<TransferStarted>(body)) return decoderError;
    return {ErrorCase::decoding, "put.io took the file as a torrent: it started a transfer and did not keep the file."};
}

}  // namespace

Task<Result<PutIOFileList>> PutIOAPI::listFolder(FolderID parentID, std::stop_token stop) {
    Parameters parameters{{"parent_id", parentID.text()}};
    return get<PutIOFileList>("/files/list", std::move(parameters), std::move(stop));
}

Task<Result<std::vector<PutIOFile>>> PutIOAPI::listFiles(FolderID parentID, std::stop_token stop) {
    Result<PutIOFileList> list = co_await listFolder(parentID, std::move(stop));
    if (!list) co_return failure(list);
    co_return std::move(list->files);
}

Task<Result<PutIOFileList>> PutIOAPI::continueListing(std::string cursor, std::stop_token stop) {
    Parameters parameters{{"cursor", std::move(cursor)}, {"per_page", std::to_string(ListingContinuation::pageSize)}};
    return post<PutIOFileList>("/files/list/continue", std::move(parameters), std::move(stop));
}

Task<Result<std::string>> PutIOAPI::getDownloadURL(FileID fileID, std::stop_token stop) {
    std::string path = "/files/" + fileID.text() + "/url";
    Result<DownloadURLResponse> link = co_await get<DownloadURLResponse>(std::move(path), {}, std::move(stop));
    if (!link) co_return failure(link);
    if (!parseWebURL(link->url)) co_return failure(APIError::invalidDownloadURL());
    co_return std::move(link->url);
}

Task<Result<void>> PutIOAPI::deleteFiles(std::vector<FileID> fileIDs, std::stop_token stop) {
    return command("/files/delete", {{"file_ids", joinedIDs(fileIDs)}}, std::move(stop));
}

Task<Result<void>> PutIOAPI::moveFiles(std::vector<FileID> fileIDs, FolderID parentID, std::stop_token stop) {
    Parameters parameters{{"file_ids", joinedIDs(fileIDs)}, {"parent_id", parentID.text()}};
    return command("/files/move", std::move(parameters), std::move(stop));
}

Task<Result<PutIOFile>> PutIOAPI::uploadFile(std::filesystem::path file, FolderID parentID, UploadProgress progress,
                                             std::stop_token stop) {
    // Both are asked before a byte is copied.
    if (!authManager_.token()) co_return failure(APIError::notAuthenticated());
    HTTPRequest request;
    request.method = "POST";
    request.url = hosts_.upload + "/v2/files/upload";
    if (!parseWebURL(request.url)) co_return failure(APIError::invalidURL());

    const MultipartUpload upload{ports_.random.makeUUID().text(), parentID, std::move(file)};
    auto body = std::make_shared<TemporaryFile>(
        ports_.files, ports_.temporaryFolder / (ports_.uploadPrefix + ports_.random.makeUUID().text()));
    request.headers.emplace_back("Content-Type", "multipart/form-data; boundary=" + upload.boundary);
    request.bodyFile = body->path();

    // The work has a share of its own: when the upload is stopped meanwhile, the file goes with the one that ends last.
    auto build = [upload, mine = body, files = &ports_.files](std::stop_token stopped) mutable -> Result<ByteCount> {
        const auto held = std::move(mine);
        return writeBody(upload, *files, *held, stopped);
    };
    Result<ByteCount> frame = co_await inBackground<ByteCount>(ports_.loop, ports_.background, stop, std::move(build));
    if (!frame) co_return failure(frame);
    if (progress)
        request.onBodySent = [progress = std::move(progress), frame = *frame](ByteCount sent, ByteCount total) {
            progress(std::max<ByteCount>(sent - frame, 0), total - frame);
        };

    Result<ServiceAnswer> answer = co_await send(std::move(request), std::move(stop));
    auto removeBody = [mine = std::move(body)](const std::stop_token&) mutable -> Result<std::monostate> {
        mine.reset();
        return std::monostate();
    };
    co_await inBackground<std::monostate>(ports_.loop, ports_.background, {}, std::move(removeBody));
    if (!answer) co_return failure(answer);
    Result<UploadResponse> response = decodeJSON<UploadResponse>(*answer->body);
    if (!response) co_return failure(uploadFailure(std::move(response.error()), *answer->body));
    co_return std::move(response->file);
}

}  // namespace tovri
