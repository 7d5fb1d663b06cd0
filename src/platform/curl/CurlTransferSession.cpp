#include "platform/curl/CurlTransferSession.h"

#include <string>
#include <unordered_map>
#include <utility>

#include "platform/curl/Exchange.h"
#include "platform/curl/ReportPace.h"
#include "platform/curl/sockets/CurlLoop.h"

namespace tovri {
namespace {

ExchangeRequest outgoing(const TransferRequest& request) {
    ExchangeRequest made{.method = "GET",
                         .url = request.url,
                         .headers = {{"Accept-Encoding", "identity"}},
                         .body = {},
                         .idleLimit = request.idleLimit};
    if (request.first > 0 || request.last) {
        const std::string last = request.last ? std::to_string(*request.last) : "";
        made.headers.emplace_back("Range", "bytes=" + std::to_string(request.first) + "-" + last);
    }
    if (request.first > 0 && !request.validator.empty()) made.headers.emplace_back("If-Range", request.validator);
    return made;
}

Error refusedError() {
    return {ErrorCase::file, "What arrived could not be kept; check the destination and retry."};
}

}  // namespace

// The asking side of an attempt; its members belong to the main thread, which empties them when it is withdrawn.
struct CurlTransferSession::Asking {
    Done done;
    std::function<void(ByteCount)> onProgress;
};

// What the loop's thread works on.
struct CurlTransferSession::Network : std::enable_shared_from_this<Network> {
    explicit Network(const SleepClock& sleepClock) : loop(sleepClock) {}

    // Any thread.
    void resume(std::int64_t number);

    std::unordered_map<std::int64_t, std::unique_ptr<Job>> jobs;  // the loop's thread
    CurlLoop loop;
};

// One attempt under way. Owned by Network; the loop's thread.
class CurlTransferSession::Job final : public ExchangeReceiver {
public:
    Job(std::int64_t number, Network& network, MainLoop& mainLoop, std::shared_ptr<Asking> asking,
        TransferRequest request)
        : number_(number),
          network_(network),
          mainLoop_(mainLoop),
          asking_(std::move(asking)),
          tellsProgress_(static_cast<bool>(asking_->onProgress)),
          accept_(std::move(request.accept)),
          receiver_(std::move(request.receiver)),
          exchange_(network.loop, *this, outgoing(request)) {}

    void start() {
        if (Result<void> started = exchange_.start(); !started) didEnd(std::move(started));
    }

    void resume() { exchange_.resume(); }

private:
    Result<void> didReceiveHead(const ResponseHead& head) override {
        end_.head = head.answer();
        return accept_(*end_.head);
    }

    Result<BodyFlow> didReceiveBytes(std::string_view bytes) override {
        switch (receiver_->take(bytes)) {
            case ByteReceiver::Taken::refused:
                return failure(refusedError());
            case ByteReceiver::Taken::none:
                receiver_->whenReady([number = number_, weakNetwork = network_.weak_from_this()] {
                    if (const auto network = weakNetwork.lock()) network->resume(number);
                });
                return BodyFlow::pauses;
            case ByteReceiver::Taken::all:
                break;
        }
        end_.received += static_cast<ByteCount>(bytes.size());
        tick(std::chrono::steady_clock::now());
        return BodyFlow::goesOn;
    }

    void didSend(ByteCount, ByteCount) override {}

    [[nodiscard]] std::optional<BytesPerSecond> pace() const override { return receiver_->pace(); }

    void tick(std::chrono::steady_clock::time_point now) override {
        if (isProgressNews() && pace_.isDue(now)) tellProgress();
    }

    // The last thing that a job does.
    void didEnd(Result<void> result) override {
        if (!result) end_.error = std::move(result.error());
        if (isProgressNews()) tellProgress();
        mainLoop_.post([asking = std::move(asking_), end = std::move(end_)]() mutable {
            asking->onProgress = nullptr;
            if (Done done = std::exchange(asking->done, nullptr)) done(std::move(end));
        });
        network_.jobs.erase(number_);
    }

    [[nodiscard]] bool isProgressNews() const { return tellsProgress_ && end_.received != toldReceived_; }

    void tellProgress() {
        toldReceived_ = end_.received;
        mainLoop_.post([asking = asking_, received = end_.received] {
            const auto tell = asking->onProgress;  // survives being withdrawn by what it calls
            if (tell) tell(received);
        });
    }

    std::int64_t number_;
    Network& network_;
    MainLoop& mainLoop_;
    std::shared_ptr<Asking> asking_;
    bool tellsProgress_;
    std::function<Result<void>(const AnswerHead&)> accept_;
    std::shared_ptr<ByteReceiver> receiver_;
    TransferEnd end_;
    ByteCount toldReceived_ = 0;
    ReportPace pace_;
    Exchange exchange_;
};

void CurlTransferSession::Network::resume(std::int64_t number) {
    loop.run([this, number] {
        if (const auto job = jobs.find(number); job != jobs.end()) job->second->resume();
    });
}

CurlTransferSession::CurlTransferSession(MainLoop& mainLoop, const SleepClock& sleepClock)
    : mainLoop_(mainLoop), network_(std::make_shared<Network>(sleepClock)) {}

CurlTransferSession::~CurlTransferSession() {
    network_->loop.stop([network = network_.get()] { network->jobs.clear(); });
}

Subscription CurlTransferSession::fetch(TransferRequest request, Done done) {
    const std::int64_t number = ++lastJob_;
    auto asking = std::make_shared<Asking>(std::move(done), std::move(request.onProgress));
    auto job = std::make_unique<Job>(number, *network_, mainLoop_, asking, std::move(request));
    network_->loop.run([network = network_.get(), number, job = std::move(job)]() mutable {
        network->jobs.emplace(number, std::move(job)).first->second->start();
    });
    return Subscription([number, asking, weakNetwork = std::weak_ptr(network_)] {
        const bool isWithdrawn = static_cast<bool>(std::exchange(asking->done, nullptr));
        asking->onProgress = nullptr;
        const auto network = weakNetwork.lock();
        if (isWithdrawn && network) network->loop.run([jobs = &network->jobs, number] { jobs->erase(number); });
    });
}

}  // namespace tovri
