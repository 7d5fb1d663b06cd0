#include "platform/curl/CurlHTTPSession.h"

#include <utility>

#include <curl/curl.h>

#include "platform/curl/Exchange.h"
#include "platform/curl/ReportPace.h"
#include "platform/curl/sockets/CurlLoop.h"

namespace tovri {

// The asking side of a request; its members belong to the main thread, which empties them when it is withdrawn.
struct CurlHTTPSession::Answering {
    Done done;
    std::function<void(ByteCount, ByteCount)> onBodySent;
};

// What the loop's thread works on.
struct CurlHTTPSession::Network : std::enable_shared_from_this<Network> {
    explicit Network(const SleepClock& sleepClock) : loop(sleepClock) {}

    // Any thread.
    void resume(std::int64_t number);

    std::unordered_map<std::int64_t, std::unique_ptr<Job>> jobs;  // the loop's thread
    CurlLoop loop;
};

// One request under way. Owned by Network; the loop's thread.
class CurlHTTPSession::Job final : public ExchangeReceiver {
public:
    Job(std::int64_t number, Network& network, MainLoop& mainLoop, std::shared_ptr<Answering> answering)
        : number_(number),
          network_(network),
          mainLoop_(mainLoop),
          answering_(std::move(answering)),
          tellsProgress_(static_cast<bool>(answering_->onBodySent)) {}

    void start(HTTPRequest request) {
        ExchangeRequest outgoing{.method = std::move(request.method),
                                 .url = std::move(request.url),
                                 .headers = std::move(request.headers),
                                 .body = {},
                                 .bodyAllowance = allowance_ = std::move(request.bodyAllowance),
                                 .idleLimit = request.timeout,
                                 .timeLimit = request.timeLimit,
                                 .bodyLimit = request.answerLimit,
                                 .acceptsCompression = true};
        if (!request.bodyFile.empty()) {
            Result<RequestBody> body = RequestBody::ofFile(request.bodyFile);
            if (!body) return didEnd(failure(body));
            outgoing.body.emplace(std::move(*body));
        } else if (!request.body.empty() || outgoing.method == "POST") {
            outgoing.body.emplace(RequestBody::ofText(std::move(request.body)));
        }
        exchange_ = std::make_unique<Exchange>(network_.loop, *this, std::move(outgoing));
        if (Result<void> started = exchange_->start(); !started) didEnd(std::move(started));
    }

    void resume() {
        if (exchange_) exchange_->resume();
    }

private:
    Result<void> didReceiveHead(const ResponseHead& head) override {
        response_.status = head.status;
        response_.retryHints = head.retryHints;
        return {};
    }

    Result<BodyFlow> didReceiveBytes(std::string_view bytes) override {
        response_.body += bytes;
        return BodyFlow::goesOn;
    }

    void didSend(ByteCount sent, ByteCount total) override {
        const bool isNews = tellsProgress_ && sent != toldSent_;
        if (!isNews || (sent < total && !pace_.isDue(std::chrono::steady_clock::now()))) return;
        toldSent_ = sent;
        mainLoop_.post([answering = answering_, sent, total] {
            const auto tell = answering->onBodySent;  // survives being withdrawn by what it calls
            if (tell) tell(sent, total);
        });
    }

    void didPauseBody() override {
        allowance_->whenReady([number = number_, weakNetwork = network_.weak_from_this()] {
            if (const auto network = weakNetwork.lock()) network->resume(number);
        });
    }

    void tick(std::chrono::steady_clock::time_point) override {}

    // The last thing that a job does.
    void didEnd(Result<void> result) override {
        Result<HTTPResponse> answer = std::move(response_);
        if (!result && result.error().code == ErrorCase::invalidResponse) {
            answer = HTTPResponse{};
        } else if (!result) {
            answer = failure(result);
        }
        mainLoop_.post([answering = std::move(answering_), answer = std::move(answer)]() mutable {
            answering->onBodySent = nullptr;
            if (Done done = std::exchange(answering->done, nullptr)) done(std::move(answer));
        });
        network_.jobs.erase(number_);
    }

    std::int64_t number_;
    Network& network_;
    MainLoop& mainLoop_;
    std::shared_ptr<Answering> answering_;
    bool tellsProgress_;
    std::shared_ptr<ByteAllowance> allowance_;
    ByteCount toldSent_ = -1;
    ReportPace pace_;
    HTTPResponse response_;
    std::unique_ptr<Exchange> exchange_;
};

void CurlHTTPSession::Network::resume(std::int64_t number) {
    loop.run([this, number] {
        if (const auto job = jobs.find(number); job != jobs.end()) job->second->resume();
    });
}

CurlHTTPSession::CurlHTTPSession(MainLoop& mainLoop, const SleepClock& sleepClock)
    : mainLoop_(mainLoop), network_(std::make_shared<Network>(sleepClock)) {}

CurlHTTPSession::~CurlHTTPSession() {
    network_->loop.stop([network = network_.get()] { network->jobs.clear(); });
}

Subscription CurlHTTPSession::send(HTTPRequest request, Done done) {
    const std::int64_t number = ++lastJob_;
    auto answering = std::make_shared<Answering>(std::move(done), std::move(request.onBodySent));
    auto job = std::make_unique<Job>(number, *network_, mainLoop_, answering);
    network_->loop.run(
        [network = network_.get(), number, job = std::move(job), request = std::move(request)]() mutable {
            network->jobs.emplace(number, std::move(job)).first->second->start(std::move(request));
        });
    return Subscription([number, answering, weakNetwork = std::weak_ptr(network_)] {
        const bool isWithdrawn = static_cast<bool>(std::exchange(answering->done, nullptr));
        answering->onBodySent = nullptr;
        const auto network = weakNetwork.lock();
        if (isWithdrawn && network) network->loop.run([jobs = &network->jobs, number] { jobs->erase(number); });
    });
}

}  // namespace tovri
