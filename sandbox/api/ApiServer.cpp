#include "sandbox/api/ApiServer.h"

#include <utility>

#include <fmt/format.h>

#include "sandbox/api/Answers.h"
#include "sandbox/http/BodyStream.h"

namespace tovri::sandbox {
namespace {

constexpr std::string_view version = "/v2";
constexpr std::string_view signInPath = "/oauth2/authenticate";
constexpr std::string_view uploadPath = "/files/upload";

Role roleOf(std::string_view path) {
    if (path == signInPath) return Role::web;
    if (path == uploadPath) return Role::upload;
    return FilesApi::fileOfLinkPath(path) ? Role::link : Role::api;
}

bool bendsBody(const Fault& fault) {
    return fault.cut || fault.stall || fault.rate || fault.announceMore != 0;
}

// The same answer, sent the way the fault wants it.
void streamThrough(HttpResponse& response, const Fault& fault) {
    const auto text = std::make_shared<const std::string>(std::exchange(response.body, {}));
    BodyPlan body;
    body.length = text->size();
    body.fault = fault;
    body.read = [content = Content::stored(text)](std::uint64_t offset, std::span<char> into) {
        content.read(offset, into);
    };
    response.stream = streamBody(std::move(body));
}

}  // namespace

HttpResponse ApiServer::answer(const HttpRequest& request) {
    parts_.transfers.advance();
    parts_.folders.advance();
    if (ControlApi::isControlPath(request.path)) return parts_.control.answer(request);
    ApiCall call;
    call.method = request.method;
    call.path = request.path;
    if (call.path.starts_with(version)) call.path.remove_prefix(version.size());
    const Role role = roleOf(call.path);
    if (role == Role::upload) return parts_.upload.answer(request, isAuthorized(request));

    LoggedRequest logged = describe(role, request);
    if (request.body != nullptr) logged.form = parseFields(request.body->readAll());
    call.fields = parseFields(request.query);
    call.fields.insert(logged.form.begin(), logged.form.end());
    logged.fileID = FilesApi::fileOfLinkPath(call.path);
    const std::uint64_t sequence = parts_.log.begin(std::move(logged));
    const Fault fault = parts_.faults.take(role, faultNames(request, role, call)).value_or(Fault{});
    call.staleCursor = fault.staleCursor;
    call.listedSize = fault.listedSize;

    HttpResponse response = answerOrFail(request, role, call, fault);
    parts_.log.answered(sequence, response.status, fault.text);
    parts_.log.finish(sequence, response.body.size());
    if (bendsBody(fault)) streamThrough(response, fault);
    return response;
}

HttpResponse ApiServer::answerOrFail(const HttpRequest& request, Role role, const ApiCall& call, const Fault& fault) {
    if (!parts_.pause.wait(fault.delay)) return errorAnswer(503, "Stopping", "The sandbox stops.");
    if (std::optional<HttpResponse> forced = forcedAnswer(fault)) return std::move(*forced);
    if (role == Role::web) return signInPage(call);
    if (!isAuthorized(request)) return errorAnswer(401, "invalid_grant", "The access token is missing or not valid.");
    if (role == Role::link && fault.link) {
        return jsonAnswer(JsonWriter().beginObject().field("url", *fault.link).field("status", "OK").endObject());
    }
    return dispatch(call);
}

HttpResponse ApiServer::dispatch(const ApiCall& call) {
    if (call.isGet("/account/info")) return accountInfo();
    if (auto response = parts_.files.answer(call)) return std::move(*response);
    if (auto response = parts_.transfers.answer(call)) return std::move(*response);
    if (auto response = parts_.feeds.answer(call)) return std::move(*response);
    return notFoundAnswer();
}

// Stands for a page on which the user has just agreed.
HttpResponse ApiServer::signInPage(const ApiCall& call) const {
    const std::string_view redirectURI = call.text("redirect_uri");
    if (redirectURI.empty() || call.text("client_id").empty() || call.text("response_type") != "token") {
        return errorAnswer(400, "invalid_request", "client_id, response_type=token and redirect_uri are needed.");
    }
    const std::string fragment =
        parts_.settings.deniesSignIn ? "error=access_denied" : "access_token=" + parts_.settings.token;
    return redirectAnswer(fmt::format("{}#{}", redirectURI, fragment));
}

HttpResponse ApiServer::accountInfo() const {
    const std::int64_t used = parts_.account.used();
    const std::int64_t size = parts_.settings.diskSize;
    JsonWriter json;
    json.beginObject().key("info").beginObject();
    json.field("username", parts_.settings.username)
        .field("mail", parts_.settings.username + "@example.com")
        .field("avatar_url", "https://example.com/avatar.png");
    json.key("disk").beginObject().field("used", used).field("size", size).field("avail", size - used).endObject();
    return jsonAnswer(json.endObject().field("status", "OK").endObject());
}

bool ApiServer::isAuthorized(const HttpRequest& request) const {
    return request.header("Authorization") == "Bearer " + parts_.settings.token;
}

// A fault may name the path, the path with the fields as a query, or, for a link, the file.
std::vector<std::string> ApiServer::faultNames(const HttpRequest& request, Role role, const ApiCall& call) const {
    std::string withFields = request.path;
    for (const auto& [name, value] : call.fields) {
        withFields += fmt::format("{}{}={}", withFields.size() == request.path.size() ? '?' : '&', name, value);
    }
    std::vector<std::string> names = {request.path, std::move(withFields)};
    if (role == Role::link) {
        const FileID id = FilesApi::fileOfLinkPath(call.path).value_or(rootID);
        names.push_back(fmt::format("#{}", id));
        if (const auto file = parts_.account.find(id)) names.push_back(file->name);
    }
    return names;
}

}  // namespace tovri::sandbox
