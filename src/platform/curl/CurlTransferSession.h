#pragma once

#include <cstdint>
#include <memory>

#include "platform/MainLoop.h"
#include "platform/TransferSession.h"

namespace tovri {

class SleepClock;

// Transfers over libcurl, on a thread of its own with kept connections. Attempts that are under way when it is
// destroyed end untold, and their receivers are given nothing more. A subscription may outlive it, and so may the word
// that a receiver has room.
class CurlTransferSession final : public TransferSession {
public:
    // Both outlive the session. Reads the trusted certificates' place from the environment.
    CurlTransferSession(MainLoop& mainLoop, const SleepClock& sleepClock);
    CurlTransferSession(const CurlTransferSession&) = delete;
    CurlTransferSession& operator=(const CurlTransferSession&) = delete;
    ~CurlTransferSession() override;

    Subscription fetch(TransferRequest request, Done done) override;

private:
    class Job;
    struct Asking;
    struct Network;

    MainLoop& mainLoop_;
    std::shared_ptr<Network> network_;
    std::int64_t lastJob_ = 0;
};

}  // namespace tovri
