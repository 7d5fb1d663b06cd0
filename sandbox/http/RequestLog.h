#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sandbox/Role.h"
#include "sandbox/api/Fields.h"
#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

struct LoggedRequest {
    std::uint64_t sequence = 0;
    Role role = Role::api;
    std::string method;
    std::string path;
    std::string query;
    Fields form;
    std::string range;
    std::string ifRange;
    std::string userAgent;
    int clientPort = 0;  // of the connection that it came on
    bool hasAuthorization = false;
    std::optional<std::int64_t> fileID;
    std::string fault;  // the one that struck, if any
    int status = 0;
    std::uint64_t bytesSent = 0;          // of the answer's body
    std::uint64_t bytesReceived = 0;      // of an uploaded file
    std::uint64_t transfersInFlight = 0;  // with this one, when it began
    double startedAt = 0;                 // seconds since the sandbox started
    std::optional<double> endedAt;
};

// What a log entry can take from the request itself.
LoggedRequest describe(Role role, const HttpRequest& request);

struct RequestStatistics {
    std::uint64_t requests = 0;
    std::uint64_t transfersInFlight = 0;
    std::uint64_t maxConcurrentTransfers = 0;
    std::uint64_t authorizationOnStorage = 0;  // requests that showed a token to the storage host
    std::uint64_t storageBytes = 0;
};

// Every request that reached the sandbox, for tests and people to read. Safe to use from any thread.
class RequestLog {
public:
    // Appends each finished request to this file too, one JSON object per line.
    void writeTo(const std::string& path);

    // Enters a request that has arrived. A transfer is counted as in flight until `transferEnded`.
    std::uint64_t begin(LoggedRequest request, bool isTransfer = false);

    // Tells how it is being answered, and which fault struck.
    void answered(std::uint64_t sequence, int status, const std::string& fault);

    // Tells what an upload held.
    void uploaded(std::uint64_t sequence, Fields form, std::uint64_t size);

    // Tells that the client may count the transfer as over: its last byte is about to leave.
    void transferEnded();

    // Tells that the answer is out, or was broken off.
    void finish(std::uint64_t sequence, std::uint64_t bytesSent);

    // Forgets all requests and the maximum; transfers in flight go on counting.
    void reset();

    std::vector<LoggedRequest> requests() const;
    RequestStatistics statistics() const;

    static std::string toJson(const std::vector<LoggedRequest>& requests);

private:
    using Clock = std::chrono::steady_clock;

    double now() const;
    LoggedRequest* find(std::uint64_t sequence);  // null when a reset made it forgotten

    mutable std::mutex mutex_;
    Clock::time_point start_ = Clock::now();
    std::uint64_t firstSequence_ = 1;
    std::vector<LoggedRequest> requests_;
    RequestStatistics statistics_;
    std::ofstream file_;
};

}  // namespace tovri::sandbox
