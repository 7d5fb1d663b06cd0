#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/FileManager.h"
#include "platform/HTTPSession.h"
#include "platform/WebAuthentication.h"
#include "support/VirtualLoop.h"

namespace tovri::test {

// Answers every request with what the test's handler says, `latency` after it was sent. A request that was taken back
// in time never reaches the handler, unless the far side acts at once: then only its answer is lost.
class ScriptedHTTPSession final : public HTTPSession {
public:
    using Handler = std::function<Result<HTTPResponse>(const HTTPRequest&)>;

    // `files` has the files that requests carry; none where no request does.
    explicit ScriptedHTTPSession(VirtualLoop& loop, FileManager* files = nullptr) : loop_(loop), files_(files) {}

    Subscription send(HTTPRequest request, Done done) override {
        requests.push_back(request);
        std::optional<Result<HTTPResponse>> early;
        if (actsAtOnce) early = ask(request);
        const MainLoop::Duration delay = isSilent(request) ? MainLoop::Duration(request.timeout) : latency;
        auto answer = [this, session = std::weak_ptr(life_), early = std::move(early), request = std::move(request),
                       done = std::move(done)]() mutable {
            if (session.expired()) return;
            ++answered;
            Result<HTTPResponse> result = early ? std::move(*early) : ask(request);
            tellSent(request);
            done(std::move(result));
        };
        return loop_.schedule(delay, std::move(answer));
    }

    Handler handler;
    std::function<bool(const HTTPRequest&)> isUnanswered;  // such a request ends by its time-out
    MainLoop::Duration latency = std::chrono::milliseconds(20);
    bool actsAtOnce = false;
    std::vector<HTTPRequest> requests;  // all that were sent, in their order
    int answered = 0;

private:
    [[nodiscard]] bool isSilent(const HTTPRequest& request) const { return isUnanswered && isUnanswered(request); }

    void tellSent(const HTTPRequest& request) const {
        if (!request.onBodySent) return;
        ByteCount size = static_cast<ByteCount>(request.body.size());
        if (files_ != nullptr && !request.bodyFile.empty()) size = files_->fileSize(request.bodyFile).value_or(0);
        const auto tell = request.onBodySent;
        tell(size, size);
    }

    Result<HTTPResponse> ask(const HTTPRequest& request) {
        if (!request.url.starts_with("https://"))
            return failure({ErrorCase::invalidURL, "The address is not encrypted."});
        if (isSilent(request)) return failure({TransportFault::silent, "Nothing came."});
        return handler ? handler(request) : failure({TransportFault::unreachable, "Nobody answers."});
    }

    VirtualLoop& loop_;
    FileManager* files_;
    std::shared_ptr<int> life_ = std::make_shared<int>();  // no answer outlives it
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
