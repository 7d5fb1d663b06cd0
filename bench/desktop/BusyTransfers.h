#pragma once

#include <chrono>
#include <map>

#include "platform/MainLoop.h"
#include "platform/TransferSession.h"

namespace tovri::bench {

// Transfers that fetch nothing and never end, and of which each reports fifty times a second.
class BusyTransfers final : public TransferSession {
public:
    // `loop` outlives the session.
    explicit BusyTransfers(MainLoop& loop) : loop_(loop) { tick(); }

    Subscription fetch(TransferRequest request, Done done) override;

private:
    struct Running {
        TransferRequest request;
        Done done;
        ByteCount received = 0;
    };

    void tick();

    MainLoop& loop_;
    std::int64_t last_ = 0;
    std::map<std::int64_t, Running> running_;
    Subscription timer_;
};

}  // namespace tovri::bench
