#include "service/PutIOAPI.h"

#include "service/requests/APIError.h"
#include "service/requests/QueryEncoding.h"
#include "service/requests/ResponsePreview.h"
#include "service/requests/ServiceRefusal.h"
#include "service/requests/WebURL.h"

namespace tovri {
namespace {

constexpr int notFound = 404;

std::vector<QueryItem> queryItems(const PutIOAPI::Parameters& parameters) {
    return {parameters.begin(), parameters.end()};
}

}  // namespace

PutIOAPI::PutIOAPI(AuthManager& authManager, HTTPSession& session, ServicePorts ports, ServiceHosts hosts,
                   std::function<bool()> readsLongFolders)
    : authManager_(authManager),
      session_(session),
      ports_(std::move(ports)),
      hosts_(std::move(hosts)),
      baseURL_(hosts_.api + "/v2"),
      readsLongFolders_(std::move(readsLongFolders)) {}

Result<void> PutIOAPI::validate(const HTTPResponse& response, const std::string& sentToken) {
    if (response.status == 0) return failure(APIError::invalidResponse());
    if (response.status >= 200 && response.status <= 299) return {};
    if (response.status == 401) {
        if (authManager_.token() == sentToken) authManager_.refuse();
        return failure(APIError::notAuthenticated());
    }
    Error refused = response.status == 429 ? APIError::rateLimited() : APIError::httpError(response.status);
    refused.retryHints = response.retryHints;
    return failure(std::move(refused));
}

Task<Result<void>> PutIOAPI::command(std::string path, Parameters parameters, std::stop_token stop) {
    Result<StatusResponse> done =
        co_await post<StatusResponse>(std::move(path), std::move(parameters), std::move(stop));
    if (!done) co_return failure(done);
    co_return Result<void>();
}

Task<Result<PutIOAPI::ServiceAnswer>> PutIOAPI::sendGet(std::string path, Parameters parameters, std::stop_token stop) {
    HTTPRequest request;
    request.url = baseURL_ + path;
    if (!parameters.empty()) request.url += "?" + percentEncodedQuery(queryItems(parameters));
    Result<ServiceAnswer> answer = co_await send(std::move(request), std::move(stop));
    co_return answer;
}

Task<Result<PutIOAPI::ServiceAnswer>> PutIOAPI::sendPost(std::string path, Parameters parameters,
                                                         std::stop_token stop) {
    HTTPRequest request;
    request.method = "POST";
    request.url = baseURL_ + path;
    request.headers.emplace_back("Content-Type", "application/x-www-form-urlencoded");
    request.body = formEncoded(queryItems(parameters));
    Result<ServiceAnswer> answer = co_await send(std::move(request), std::move(stop));
    co_return answer;
}

Task<Result<PutIOAPI::ServiceAnswer>> PutIOAPI::send(HTTPRequest request, std::stop_token stop) {
    Result<CheckedLater> answer = co_await sendUnchecked(std::move(request), std::move(stop));
    if (!answer) co_return failure(answer);
    Result<void> valid = validate(answer->response, answer->token);
    if (!valid) co_return failure(valid);
    co_return ServiceAnswer{std::make_shared<const std::string>(std::move(answer->response.body)),
                            std::move(answer->token)};
}

Task<Result<bool>> PutIOAPI::isAbsent(FileID entry, std::stop_token stop) {
    HTTPRequest request;
    request.url = baseURL_ + "/files/" + entry.text();
    Result<CheckedLater> answer = co_await sendUnchecked(std::move(request), std::move(stop));
    if (!answer) co_return failure(answer);
    Result<void> valid = validate(answer->response, answer->token);
    if (valid) co_return false;
    const Result<ServiceRefusal> refusal = decodeJSON<ServiceRefusal>(answer->response.body);
    if (valid.error().httpStatus == notFound && refusal && refusal->saysNotFound()) co_return true;
    co_return failure(valid);
}

Task<Result<PutIOAPI::CheckedLater>> PutIOAPI::sendUnchecked(HTTPRequest request, std::stop_token stop) {
    const std::optional<std::string> token = authManager_.token();
    if (!token) co_return failure(APIError::notAuthenticated());
    if (!parseWebURL(request.url)) co_return failure(APIError::invalidURL());
    request.headers.emplace(request.headers.begin(), "Authorization", "Bearer " + *token);

    Result<HTTPResponse> response = co_await Answer<HTTPResponse>(
        ports_.loop, stop, [&](auto done) { return session_.send(std::move(request), std::move(done)); });
    if (!response) co_return failure(response);
    if (response->status == 401) co_await authManager_.takeOverStored(*token, std::move(stop));
    co_return CheckedLater{std::move(*response), *token};
}

void PutIOAPI::reportGetDecodeError(std::string_view path, const Error& error, const ServiceAnswer& answer) {
    if (error.isCancellation()) return;
    ports_.log.line(std::string("[PutIOAPI] Decode error for ").append(path) + ": " + error.description);
    if (const std::optional<std::string> preview = responsePreview(*answer.body, answer.token))
        ports_.log.line("[PutIOAPI] Response preview: " + *preview);
}

void PutIOAPI::reportPostDecodeError(std::string_view path, const Error& error) {
    if (error.isCancellation()) return;
    ports_.log.line(std::string("[PutIOAPI] POST decode error for ").append(path) + ": " + error.description);
}

}  // namespace tovri
