#include "sandbox/http/RequestLog.h"

#include <algorithm>
#include <utility>

#include "sandbox/api/JsonWriter.h"

namespace tovri::sandbox {
namespace {

void write(JsonWriter& json, const LoggedRequest& request) {
    json.beginObject()
        .field("sequence", request.sequence)
        .field("role", nameOf(request.role))
        .field("method", request.method)
        .field("path", request.path)
        .field("query", request.query);
    json.key("form").beginObject();
    for (const auto& [name, value] : request.form) json.field(name, value);
    json.endObject()
        .field("range", request.range)
        .field("ifRange", request.ifRange)
        .field("userAgent", request.userAgent)
        .field("clientPort", request.clientPort)
        .field("authorization", request.hasAuthorization)
        .field("fileID", request.fileID)
        .field("fault", request.fault)
        .field("status", request.status)
        .field("bytesSent", request.bytesSent)
        .field("bytesReceived", request.bytesReceived)
        .field("transfersInFlight", request.transfersInFlight)
        .field("startedAt", request.startedAt)
        .field("endedAt", request.endedAt)
        .endObject();
}

}  // namespace

LoggedRequest describe(Role role, const HttpRequest& request) {
    LoggedRequest logged;
    logged.role = role;
    logged.method = request.method;
    logged.path = request.path;
    logged.query = request.query;
    logged.range = request.header("Range");
    logged.ifRange = request.header("If-Range");
    logged.userAgent = request.header("User-Agent");
    logged.clientPort = request.clientPort;
    logged.hasAuthorization = !request.header("Authorization").empty();
    return logged;
}

void RequestLog::writeTo(const std::string& path) {
    const std::scoped_lock lock(mutex_);
    file_.open(path, std::ios::app | std::ios::binary);
}

std::uint64_t RequestLog::begin(LoggedRequest request, bool isTransfer) {
    const std::scoped_lock lock(mutex_);
    ++statistics_.requests;
    if (request.role == Role::storage && request.hasAuthorization) ++statistics_.authorizationOnStorage;
    if (isTransfer) {
        ++statistics_.transfersInFlight;
        statistics_.maxConcurrentTransfers =
            std::max(statistics_.maxConcurrentTransfers, statistics_.transfersInFlight);
    }
    request.transfersInFlight = statistics_.transfersInFlight;
    request.startedAt = now();
    request.sequence = firstSequence_ + requests_.size();
    requests_.push_back(std::move(request));
    return requests_.back().sequence;
}

void RequestLog::transferEnded() {
    const std::scoped_lock lock(mutex_);
    --statistics_.transfersInFlight;
}

void RequestLog::answered(std::uint64_t sequence, int status, const std::string& fault) {
    const std::scoped_lock lock(mutex_);
    if (LoggedRequest* request = find(sequence)) {
        request->status = status;
        request->fault = fault;
    }
}

void RequestLog::uploaded(std::uint64_t sequence, Fields form, std::uint64_t size) {
    const std::scoped_lock lock(mutex_);
    if (LoggedRequest* request = find(sequence)) {
        request->form = std::move(form);
        request->bytesReceived = size;
    }
}

void RequestLog::finish(std::uint64_t sequence, std::uint64_t bytesSent) {
    const std::scoped_lock lock(mutex_);
    LoggedRequest* request = find(sequence);
    if (request == nullptr) return;
    request->bytesSent = bytesSent;
    request->endedAt = now();
    if (request->role == Role::storage) statistics_.storageBytes += bytesSent;
    if (!file_.is_open()) return;
    JsonWriter json;
    write(json, *request);
    file_ << json.text() << '\n' << std::flush;
}

void RequestLog::reset() {
    const std::scoped_lock lock(mutex_);
    firstSequence_ += requests_.size();
    requests_.clear();
    statistics_ = {.transfersInFlight = statistics_.transfersInFlight,
                   .maxConcurrentTransfers = statistics_.transfersInFlight};
}

std::vector<LoggedRequest> RequestLog::requests() const {
    const std::scoped_lock lock(mutex_);
    return requests_;
}

RequestStatistics RequestLog::statistics() const {
    const std::scoped_lock lock(mutex_);
    return statistics_;
}

std::string RequestLog::toJson(const std::vector<LoggedRequest>& requests) {
    JsonWriter json;
    json.beginArray();
    for (const LoggedRequest& request : requests) write(json, request);
    return json.endArray().text();
}

LoggedRequest* RequestLog::find(std::uint64_t sequence) {
    if (sequence < firstSequence_) return nullptr;
    return &requests_[static_cast<std::size_t>(sequence - firstSequence_)];
}

double RequestLog::now() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

}  // namespace tovri::sandbox
