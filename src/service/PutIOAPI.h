#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Result.h"
#include "base/Task.h"
#include "platform/Await.h"
#include "platform/HTTPSession.h"
#include "service/FolderListing.h"
#include "service/ServicePorts.h"
#include "service/records/JSONCoding.h"
#include "service/records/JSONField.h"
#include "service/records/PutIOFile.h"
#include "service/records/PutIOFileList.h"
#include "service/records/RSSFeed.h"
#include "service/records/Transfer.h"
#include "service/requests/ServiceHosts.h"
#include "service/signin/AuthManager.h"

namespace tovri {

// The only client of the service's API: authorised requests, the check of their status, their answers as records. Keeps
// nothing per request, so any number may be under way; retries none. Operations fail with an APIError, or with the
// session's transport error or the decoder's as it is. Their tasks must not outlive the client.
class PutIOAPI {
public:
    using Parameters = std::map<std::string, std::string>;
    using UploadProgress = std::function<void(ByteCount sent, ByteCount total)>;  // may be empty

    struct StatusResponse {
        std::string status;

        bool operator==(const StatusResponse&) const = default;

        static constexpr auto jsonFields() { return jsonFieldList(JSONField{"status", &StatusResponse::status}); }
    };

    struct DownloadURLResponse {
        std::string url;
        std::string status;

        bool operator==(const DownloadURLResponse&) const = default;

        static constexpr auto jsonFields() {
            return jsonFieldList(JSONField{"url", &DownloadURLResponse::url},
                                 JSONField{"status", &DownloadURLResponse::status});
        }
    };

    struct UploadResponse {
        PutIOFile file;
        std::string status;

        bool operator==(const UploadResponse&) const = default;

        static constexpr auto jsonFields() {
            return jsonFieldList(JSONField{"file", &UploadResponse::file},
                                 JSONField{"status", &UploadResponse::status});
        }
    };

    // `authManager`, `session` and all that `ports` name outlive the client. `readsLongFolders` says at any time
    // whether the user wants folders that do not fit into one answer to be read to their end; when it is empty, yes.
    PutIOAPI(AuthManager& authManager, HTTPSession& session, ServicePorts ports, ServiceHosts hosts,
             std::function<bool()> readsLongFolders = {});

    // `path` begins with a slash and is appended to the base URL; the parameters become the query.
    template <class T>
    Task<Result<T>> get(std::string path, Parameters parameters, std::stop_token stop);

    // The parameters become the form in the body.
    template <class T>
    Task<Result<T>> post(std::string path, Parameters parameters, std::stop_token stop);

    // Success for a status from 200 to 299. A 401 signs the user out before it fails, unless another token has taken
    // the place of `sentToken` since the request was sent.
    Result<void> validate(const HTTPResponse& response, const std::string& sentToken);

    // The first page of a folder's entries, in the service's order, and whether it is all of them. The root is 0.
    Task<Result<PutIOFileList>> listFolder(FolderID parentID, std::stop_token stop);

    // The entries alone.
    Task<Result<std::vector<PutIOFile>>> listFiles(FolderID parentID, std::stop_token stop);

    // The page behind a cursor, of up to ListingContinuation::pageSize entries; without a cursor it is the last.
    Task<Result<PutIOFileList>> continueListing(std::string cursor, std::stop_token stop);

    // All pages. Fails as the first of them; whatever stands in the way of the others cuts the listing.
    Task<Result<FolderListing>> readFolder(FolderID folderID, std::stop_token stop);

    // An http or https address from which the file's bytes come without a token.
    Task<Result<std::string>> getDownloadURL(FileID fileID, std::stop_token stop);

    // Whether the service itself says, in the form of its own answers, that it has no such file or folder. A status
    // alone, which may come from anything on the way, is a failure.
    Task<Result<bool>> isAbsent(FileID entry, std::stop_token stop);

    Task<Result<void>> deleteFiles(std::vector<FileID> fileIDs, std::stop_token stop);

    Task<Result<void>> moveFiles(std::vector<FileID> fileIDs, FolderID parentID, std::stop_token stop);

    // Sends a local file into a folder by way of a temporary file, which is gone afterwards however it ends. A file
    // that the service takes as a torrent is not kept there; that is a failure that says so.
    Task<Result<PutIOFile>> uploadFile(std::filesystem::path file, FolderID parentID, UploadProgress progress,
                                       std::stop_token stop);

    // In the service's order.
    Task<Result<std::vector<Transfer>>> listTransfers(std::stop_token stop);

    // Has the service fetch a magnet link or an address into a folder, and unpack the archives among what came.
    Task<Result<Transfer>> addTransfer(std::string url, FolderID saveParentID, bool extract, std::stop_token stop);

    Task<Result<void>> cancelTransfers(std::vector<TransferID> transferIDs, std::stop_token stop);

    Task<Result<Transfer>> retryTransfer(TransferID transferID, std::stop_token stop);

    // Takes the finished ones off the list; what they fetched stays.
    Task<Result<void>> cleanTransfers(std::stop_token stop);

    // In the service's order.
    Task<Result<std::vector<RSSFeed>>> listFeeds(std::stop_token stop);

    Task<Result<RSSFeed>> createFeed(NewRSSFeed feed, std::stop_token stop);

    Task<Result<void>> updateFeed(RSSFeedUpdate update, std::stop_token stop);

    Task<Result<void>> deleteFeed(FeedID feedID, std::stop_token stop);

    Task<Result<void>> pauseFeed(FeedID feedID, std::stop_token stop);

    Task<Result<void>> resumeFeed(FeedID feedID, std::stop_token stop);

    [[nodiscard]] bool readsLongFolders() const { return !readsLongFolders_ || readsLongFolders_(); }

    // Of who is signed in.
    [[nodiscard]] const std::optional<std::string>& token() const { return authManager_.token(); }

    [[nodiscard]] const std::string& baseURL() const { return baseURL_; }

    [[nodiscard]] const ServiceHosts& hosts() const { return hosts_; }

    // For screens that show them; no operation changes them.
    [[nodiscard]] bool isLoading() const { return isLoading_; }

    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

private:
    struct ServiceAnswer {
        std::shared_ptr<const std::string> body;  // shared with the thread that decodes it
        std::string token;                        // with which the request was sent
    };

    struct CheckedLater {
        HTTPResponse response;
        std::string token;  // with which the request was sent
    };

    // A POST whose answer says nothing but that it was done.
    Task<Result<void>> command(std::string path, Parameters parameters, std::stop_token stop);

    Task<Result<ServiceAnswer>> sendGet(std::string path, Parameters parameters, std::stop_token stop);
    Task<Result<ServiceAnswer>> sendPost(std::string path, Parameters parameters, std::stop_token stop);
    Task<Result<ServiceAnswer>> send(HTTPRequest request, std::stop_token stop);
    Task<Result<CheckedLater>> sendUnchecked(HTTPRequest request, std::stop_token stop);

    // A long answer is decoded off the main thread.
    template <class T>
    Task<Result<T>> decode(std::shared_ptr<const std::string> body, std::stop_token stop);

    void reportGetDecodeError(std::string_view path, const Error& error, const ServiceAnswer& answer);
    void reportPostDecodeError(std::string_view path, const Error& error);

    AuthManager& authManager_;
    HTTPSession& session_;
    ServicePorts ports_;
    ServiceHosts hosts_;
    std::string baseURL_;
    std::function<bool()> readsLongFolders_;
    bool isLoading_ = false;
    std::optional<std::string> error_;
};

template <class T>
Task<Result<T>> PutIOAPI::get(std::string path, Parameters parameters, std::stop_token stop) {
    Result<ServiceAnswer> answer = co_await sendGet(path, std::move(parameters), stop);
    if (!answer) co_return failure(answer);
    Result<T> record = co_await decode<T>(answer->body, stop);
    if (!record) reportGetDecodeError(path, record.error(), *answer);
    co_return record;
}

template <class T>
Task<Result<T>> PutIOAPI::post(std::string path, Parameters parameters, std::stop_token stop) {
    Result<ServiceAnswer> answer = co_await sendPost(path, std::move(parameters), stop);
    if (!answer) co_return failure(answer);
    Result<T> record = co_await decode<T>(answer->body, stop);
    if (!record) reportPostDecodeError(path, record.error());
    co_return record;
}

template <class T>
Task<Result<T>> PutIOAPI::decode(std::shared_ptr<const std::string> body, std::stop_token stop) {
    constexpr std::size_t longAnswer = 256 * 1024;  // decoded in less than a millisecond
    if (body->size() <= longAnswer) co_return decodeJSON<T>(*body);
    auto work = [body = std::move(body)](const std::stop_token&) { return decodeJSON<T>(*body); };
    Result<T> record = co_await inBackground<T>(ports_.loop, ports_.background, stop, std::move(work));
    co_return record;
}

}  // namespace tovri
