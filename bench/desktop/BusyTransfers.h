#pragma once

#include <map>
#include <mutex>
#include <thread>

#include "platform/TransferSession.h"

namespace tovri::bench {

// Transfers that fetch nothing and never end, and of which each reports fifty times a second from the session's thread.
class BusyTransfers final : public TransferSession {
public:
    explicit BusyTransfers(TransferDelegate& delegate);

    TransferID makeTransfer(std::string /*url*/) override { return ++last_; }

    TransferID resumeTransfer(const ResumeToken& /*token*/) override { return ++last_; }

    void start(TransferID transfer) override;
    void cancel(TransferID transfer) override;
    void cancelProducingToken(TransferID transfer, TokenReceiver receive) override;

    void discard(const ResumeToken& /*token*/) override {}

    void discardAllBut(const std::vector<ResumeToken>& /*tokens*/) override {}

private:
    void report();

    TransferDelegate& delegate_;
    TransferID last_ = 0;
    std::mutex mutex_;  // guards written_
    std::map<TransferID, ByteCount> written_;
    std::jthread thread_;  // last: it ends before what it uses
};

}  // namespace tovri::bench
