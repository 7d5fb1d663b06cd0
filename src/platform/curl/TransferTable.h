#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/RandomSource.h"
#include "platform/TransferSession.h"
#include "platform/curl/CurlLoop.h"
#include "platform/curl/CurlTransfer.h"
#include "platform/curl/WorkerThread.h"

namespace tovri {

// The transfers of a session and their partial files, all on the loop's thread. Makes the session's reports. Owned by
// the session.
class TransferTable {
public:
    using Token = TransferSession::ResumeToken;
    using TokenReceiver = TransferSession::TokenReceiver;

    // `delegate` and `random` outlive the table.
    TransferTable(TransferDelegate& delegate, std::filesystem::path folder, RandomSource& random,
                  std::chrono::milliseconds idleLimit);
    TransferTable(const TransferTable&) = delete;
    TransferTable& operator=(const TransferTable&) = delete;
    ~TransferTable();

    // Runs what follows on the loop's thread. Any thread.
    void run(std::move_only_function<void(TransferTable&)> job);

    // The rest belongs to the loop's thread.

    void addForLink(TransferID id, std::string link);
    void addForToken(TransferID id, const Token& token);
    void start(TransferID id);
    void cancel(TransferID id);
    void cancelProducingToken(TransferID id, TokenReceiver receive);
    void discard(const Token& token);
    void discardAllBut(const std::vector<Token>& tokens);

private:
    struct Entry {
        std::unique_ptr<CurlTransfer> transfer;  // null when its token could not be read
        bool isStarted = false;
        bool isSettling = false;     // ended, its bytes on their way to the disk
        std::optional<Error> error;  // why it ended, when not by the program's wish
        TokenReceiver receive;       // who asked for its token
    };

    void add(TransferID id, ResumePoint origin);
    void didEnd(TransferID id, Result<void> result);
    void settle(TransferID id);
    void conclude(TransferID id);
    void fail(TransferID id, Error error);
    [[nodiscard]] bool isInUse(const std::filesystem::path& partial) const;

    [[nodiscard]] std::filesystem::path pathOf(const UUID& partial) const { return folder_ / partial.text(); }

    TransferDelegate& delegate_;
    std::filesystem::path folder_;
    RandomSource& random_;
    std::chrono::milliseconds idleLimit_;
    std::unordered_map<TransferID, Entry> entries_;
    CurlLoop loop_;
    WorkerThread worker_;
};

}  // namespace tovri
