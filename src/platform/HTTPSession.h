#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/Bytes.h"
#include "base/Result.h"
#include "base/RetryHints.h"
#include "base/Subscription.h"
#include "platform/ByteAllowance.h"

namespace tovri {

struct HTTPRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::string body;
    std::filesystem::path bodyFile;    // when set, its content is the body
    std::chrono::seconds timeout{60};  // the longest time without any byte moving in either direction
    std::chrono::milliseconds timeLimit = std::chrono::minutes(5);  // for all of it, but the sending of `bodyFile`
    ByteCount answerLimit = 256LL << 20;                            // of the answer's body, decoded
    std::shared_ptr<ByteAllowance> bodyAllowance;  // may be empty; of the body no more is sent than it gives
    std::function<void(ByteCount sent, ByteCount total)> onBodySent;  // may be empty; main thread
};

struct HTTPResponse {
    int status = 0;  // 0 when the answer was not HTTP
    std::string body;
    RetryHints retryHints = {};
};

// Sends requests and gathers whole answers. Follows redirects: never from https to http, and an "Authorization" header
// goes to the first address's origin alone, and so does all that is sent with another method than GET. Plain http is
// refused unless the host is a loopback address. No name and password that a redirect brings along are used.
class HTTPSession {
public:
    using Done = std::move_only_function<void(Result<HTTPResponse>)>;

    virtual ~HTTPSession() = default;

    // `done` runs on the main thread, with ErrorCase::transport, which tells its TransportFault, or invalidURL when no
    // answer came. Taking the subscription back ends the request, and `done` does not run.
    virtual Subscription send(HTTPRequest request, Done done) = 0;
};

}  // namespace tovri
