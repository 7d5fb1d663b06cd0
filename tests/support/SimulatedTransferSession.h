#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/TransferSession.h"
#include "support/VirtualLoop.h"

namespace tovri::test {

// The far side of simulated transfers: what each link serves, and how it misbehaves. Outlives the sessions.
class SimulatedStorage {
public:
    struct Break {
        ByteCount at = 0;                                  // the connection breaks after the file's first so many bytes
        bool isResumable = true;                           // whether the server gives what going on later takes
        int times = 1;                                     // how many attempts it strikes
        TransportFault fault = TransportFault::brokenOff;  // or silent, which takes a minute
    };

    struct Link {
        std::string content;
        ByteCount rate = 10'000'000;  // bytes in a second
        int status = 200;
        std::optional<int> expired = {};  // the status with which it is refused until it is asked for anew
        bool announcesLength = true;
        int refusedResumes = 0;      // so often it serves the whole file where a range is asked for
        std::string validator = {};  // where it is not the content's own
        std::string contentEncoding = {};
        ByteCount skippedInRange = 0;  // a range begins so many bytes too late
        std::vector<Break> breaks;
    };

    std::map<std::string, Link> links;  // by URL; any other answers 404
    MainLoop::Duration latency = std::chrono::milliseconds(10);

    // Where set, asked at each attempt's beginning: why no connection came about, or what is answered instead.
    std::function<std::optional<Error>(const std::string& url)> keepsAway;
    std::function<std::optional<AnswerHead>(const std::string& url)> refuses;

    // What happened so far.
    std::vector<std::string> started;  // URLs, in the order of the attempts
    int resumed = 0;                   // how many of these asked for a range
    ByteCount bytesSent = 0;
    int running = 0;
    int highestRunning = 0;
    int highestConnected = 0;  // of the running ones, the others waited for a connection
};

// Attempts in virtual time, with bytes and progress every 50 milliseconds. All links are one host's. Its thread is the
// loop's.
class SimulatedTransferSession final : public TransferSession {
public:
    SimulatedTransferSession(VirtualLoop& loop, SimulatedStorage& storage);
    ~SimulatedTransferSession() override;

    Subscription fetch(TransferRequest request, Done done) override;

    [[nodiscard]] bool isLimited() const override { return limited; }

    bool limited = false;  // what it says; nothing comes more slowly

private:
    struct Attempt;
    using Attempts = std::map<std::int64_t, std::unique_ptr<Attempt>>;

    void connectWaiting();
    [[nodiscard]] std::optional<AnswerHead> refusal(const std::string& url) const;
    void begin(std::int64_t id);
    void step(std::int64_t id);
    void arrive(std::int64_t id, ByteCount count);
    void end(std::int64_t id, std::optional<Error> error);
    [[nodiscard]] std::unique_ptr<Attempt> take(std::int64_t id);
    [[nodiscard]] AnswerHead answer(const Attempt& attempt, SimulatedStorage::Link& link) const;

    VirtualLoop& loop_;
    SimulatedStorage& storage_;
    std::int64_t nextID_ = 1;
    std::vector<std::int64_t> waiting_;  // for a connection
    int connected_ = 0;
    Attempts attempts_;
    std::shared_ptr<SimulatedTransferSession*> self_ = std::make_shared<SimulatedTransferSession*>(this);
};

}  // namespace tovri::test
