#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/HTTPSession.h"
#include "platform/WebAuthentication.h"
#include "support/VirtualLoop.h"

namespace tovri::test {

// Answers every request with what the test's handler says, `latency` after it was sent. A request that was taken back
// in time never reaches the handler, unless the far side acts at once: then only its answer is lost.
class ScriptedHTTPSession final : public HTTPSession {
public:
    using Handler = std::function<Result<HTTPResponse>(const HTTPRequest&)>;

    explicit ScriptedHTTPSession(VirtualLoop& loop) : loop_(loop) {}

    Subscription send(HTTPRequest request, Done done) override {
        requests.push_back(request);
        if (actsAtOnce) {
            return loop_.schedule(latency, [this, answer = ask(request), done = std::move(done)]() mutable {
                ++answered;
                done(std::move(answer));
            });
        }
        return loop_.schedule(latency, [this, request = std::move(request), done = std::move(done)]() mutable {
            ++answered;
            done(ask(request));
        });
    }

    Handler handler;
    MainLoop::Duration latency = std::chrono::milliseconds(20);
    bool actsAtOnce = false;
    std::vector<HTTPRequest> requests;  // all that were sent, in their order
    int answered = 0;

private:
    Result<HTTPResponse> ask(const HTTPRequest& request) {
        return handler ? handler(request) : failure({ErrorCase::transport, "Nobody answers."});
    }

    VirtualLoop& loop_;
};

// A user who ends each sign-in as the test says: with a redirect, by closing the page (none), or with a failure.
class ScriptedWebAuthentication final : public WebAuthentication {
public:
    explicit ScriptedWebAuthentication(VirtualLoop& loop) : loop_(loop) {}

    Subscription authenticate(const std::string& url, const std::string& callbackScheme, Done done) override {
        urls.push_back(url);
        schemes.push_back(callbackScheme);
        return loop_.schedule(latency, [this, done = std::move(done)]() mutable { done(answer); });
    }

    Result<std::optional<std::string>> answer = std::nullopt;
    MainLoop::Duration latency = std::chrono::seconds(5);
    std::vector<std::string> urls;
    std::vector<std::string> schemes;

private:
    VirtualLoop& loop_;
};

}  // namespace tovri::test
