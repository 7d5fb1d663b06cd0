#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/RandomSource.h"
#include "platform/TransferSession.h"

namespace tovri {

class TransferTable;

// Downloads over libcurl, on a thread of its own with kept connections. Its partial files live in one folder that
// nothing else uses; only what a token names stays there when the session goes. A file is durable before its token is
// handed over, unless that takes more than a second: then the token comes first.
class CurlTransferSession final : public TransferSession {
public:
    struct Options {
        std::chrono::milliseconds idleLimit{60'000};  // the longest time without any byte moving
    };

    // `delegate` and `random` outlive the session. `folder` is made when it is missing. Reads the trusted
    // certificates' place from the environment.
    CurlTransferSession(TransferDelegate& delegate, std::filesystem::path folder, RandomSource& random);
    CurlTransferSession(TransferDelegate& delegate, std::filesystem::path folder, RandomSource& random,
                        Options options);
    CurlTransferSession(const CurlTransferSession&) = delete;
    CurlTransferSession& operator=(const CurlTransferSession&) = delete;
    ~CurlTransferSession() override;

    [[nodiscard]] TransferID makeTransfer(std::string url) override;
    [[nodiscard]] TransferID resumeTransfer(const ResumeToken& token) override;
    void start(TransferID transfer) override;
    void cancel(TransferID transfer) override;
    void cancelProducingToken(TransferID transfer, TokenReceiver receive) override;
    void discard(const ResumeToken& token) override;
    void discardAllBut(const std::vector<ResumeToken>& tokens) override;

private:
    std::unique_ptr<TransferTable> table_;
    TransferID lastTransfer_ = 0;
};

}  // namespace tovri
