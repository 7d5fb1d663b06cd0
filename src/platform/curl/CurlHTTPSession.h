#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>

#include "platform/HTTPSession.h"
#include "platform/MainLoop.h"

namespace tovri {

class CurlLoop;
class SleepClock;

// HTTP over libcurl, on a thread of its own with kept connections. Requests that are under way when it is destroyed end
// without an answer. A subscription may outlive it.
class CurlHTTPSession final : public HTTPSession {
public:
    // Both outlive the session. Reads the trusted certificates' place from the environment.
    CurlHTTPSession(MainLoop& mainLoop, const SleepClock& sleepClock);
    CurlHTTPSession(const CurlHTTPSession&) = delete;
    CurlHTTPSession& operator=(const CurlHTTPSession&) = delete;
    ~CurlHTTPSession() override;

    Subscription send(HTTPRequest request, Done done) override;

private:
    class Job;
    struct Answering;
    struct Network;

    MainLoop& mainLoop_;
    std::shared_ptr<Network> network_;
    std::int64_t lastJob_ = 0;
};

}  // namespace tovri
