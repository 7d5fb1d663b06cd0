#include "sandbox/api/ControlApi.h"

#include <fmt/format.h>

#include "sandbox/account/AccountFile.h"
#include "sandbox/api/Answers.h"
#include "sandbox/faults/FaultSettings.h"

namespace tovri::sandbox {
namespace {

constexpr std::string_view filesPath = "/sandbox/files/";

void writeTree(JsonWriter& json, const Account& account, const File& file) {
    json.beginObject().field("id", file.id).field("name", file.name).field("size", file.size);
    if (file.isFolder) {
        json.key("children").beginArray();
        for (const File& child : account.children(file.id)) writeTree(json, account, child);
        json.endArray();
    }
    json.endObject();
}

}  // namespace

HttpResponse ControlApi::answer(const HttpRequest& request) {
    if (request.path == "/sandbox/faults") return changeFaults(request);
    if (request.path.starts_with(filesPath)) return changeFiles(request);
    if (request.path == "/sandbox/stats") return showStatistics();
    if (request.path == "/sandbox/account") return showAccount();
    if (request.path == "/sandbox/requests") {
        HttpResponse response;
        response.body = RequestLog::toJson(log_.requests());
        return response;
    }
    if (request.path == "/sandbox/reset-log" && request.method == "POST") {
        log_.reset();
        return okAnswer();
    }
    return notFoundAnswer();
}

HttpResponse ControlApi::changeFaults(const HttpRequest& request) {
    if (request.method == "GET") return showFaults();
    if (request.method == "POST") return addFaults(request.body->readAll());
    if (request.method != "DELETE") return errorAnswer(405, "MethodNotAllowed", "GET, POST or DELETE.");
    faults_.clear();
    return okAnswer();
}

// The fields come as a form or behind a "?".
HttpResponse ControlApi::changeFiles(const HttpRequest& request) {
    if (request.method != "POST") return errorAnswer(405, "MethodNotAllowed", "POST.");
    Fields fields = parseFields(request.query);
    fields.merge(parseFields(request.body->readAll()));
    return changes_.answer(std::string_view(request.path).substr(filesPath.size()), fields);
}

// A body that begins like JSON is an array of fault objects; any other holds one fault per line.
HttpResponse ControlApi::addFaults(std::string_view text) {
    const std::expected<std::vector<Fault>, std::string> read =
        text.starts_with('[') ? readFaultsJson(text) : readFaultLines(text);
    if (!read) return errorAnswer(400, "BadFault", read.error());
    for (const Fault& fault : *read) faults_.add(fault);
    return okAnswer();
}

HttpResponse ControlApi::showFaults() const {
    JsonWriter json;
    json.beginArray();
    for (const Faults::Use& use : faults_.uses()) {
        json.beginObject().field("fault", use.text).field("used", use.count).endObject();
    }
    return jsonAnswer(json.endArray());
}

HttpResponse ControlApi::showStatistics() const {
    const RequestStatistics statistics = log_.statistics();
    JsonWriter json;
    json.beginObject()
        .field("requests", statistics.requests)
        .field("transfersInFlight", statistics.transfersInFlight)
        .field("maxConcurrentTransfers", statistics.maxConcurrentTransfers)
        .field("authorizationOnStorage", statistics.authorizationOnStorage)
        .field("storageBytes", statistics.storageBytes);
    return jsonAnswer(json.endObject());
}

HttpResponse ControlApi::showAccount() const {
    JsonWriter json;
    if (const auto root = account_.find(rootID)) writeTree(json, account_, *root);
    return jsonAnswer(json);
}

}  // namespace tovri::sandbox
