#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.h"
#include "base/Result.h"
#include "base/RetryHints.h"
#include "base/Subscription.h"

namespace tovri {

struct HTTPRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::filesystem::path bodyFile;    // when set, its content is the body
    std::chrono::seconds timeout{60};  // the longest time without any byte moving in either direction
    std::function<void(ByteCount sent, ByteCount total)> onBodySent;  // may be empty; main thread
};

struct HTTPResponse {
    int status = 0;  // 0 when the answer was not HTTP
    std::string body;
    RetryHints retryHints = {};
};

// Sends requests and gathers whole answers. Follows redirects: never from https to http, and an "Authorization" header
// goes to the first address's origin alone. Plain http is refused unless the host is a loopback address.
class HTTPSession {
public:
    using Done = std::move_only_function<void(Result<HTTPResponse>)>;

    virtual ~HTTPSession() = default;

    // `done` runs on the main thread, with ErrorCase::transport, which tells its TransportFault, or invalidURL when no
    // answer came. Taking the subscription back ends the request, and `done` does not run.
    virtual Subscription send(HTTPRequest request, Done done) = 0;
};

}  // namespace tovri
