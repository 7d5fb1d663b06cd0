#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sandbox/account/Account.h"
#include "sandbox/api/JsonWriter.h"

namespace tovri::sandbox {

// How far a transfer has come.
struct TransferProgress {
    std::string status;
    std::int64_t downloaded = 0;
    std::int64_t uploaded = 0;
    std::int64_t downSpeed = 0;
    std::int64_t upSpeed = 0;
    std::int64_t secondsLeft = 0;
};

// Something that the service fetches for the user.
struct Transfer {
    std::int64_t id = 0;
    std::string name;
    std::string source;
    std::int64_t size = 0;
    FileID saveParentID = rootID;
    bool extract = false;
    std::string errorMessage;
    std::optional<FileID> fileID;  // what it left in the account
    UnixTime createdAt = 0;
    std::optional<UnixTime> finishedAt;
    double startedAt = 0;                    // on the clock of Transfers
    std::optional<TransferProgress> frozen;  // stays as it is instead of living
};

// What is wanted of a new transfer; an empty name is taken from the source.
struct NewTransfer {
    std::string source;
    std::string name = {};
    FileID saveParentID = rootID;
    bool extract = false;
    std::int64_t size = 0;  // 0: some size that follows from the source
    std::string errorMessage = {};
    std::optional<FileID> fileID = std::nullopt;            // what it left in the account, when it is over
    std::optional<TransferProgress> frozen = std::nullopt;  // such a transfer leaves nothing by itself
};

// The transfers of the user. Each lives through IN_QUEUE, DOWNLOADING, COMPLETING, SEEDING and COMPLETED by the time
// that went by, and leaves a file in the account once it is downloaded. Safe to use from any thread.
class Transfers {
public:
    // The clock tells seconds, from any start. The account outlives this object.
    Transfers(Account& account, std::function<double()> clock) : account_(account), clock_(std::move(clock)) {}

    Transfer add(NewTransfer wanted);
    std::vector<Transfer> list() const;
    bool cancel(std::int64_t id);
    std::optional<Transfer> retry(std::int64_t id);

    // Removes those that are completed.
    void clean();

    // Brings the account up to date with what has been downloaded by now.
    void advance();

    TransferProgress progress(const Transfer& transfer) const;

    // Writes a transfer as the API shows it.
    void write(JsonWriter& json, const Transfer& transfer) const;

private:
    Account& account_;
    std::function<double()> clock_;
    mutable std::mutex mutex_;
    std::int64_t lastID_ = 0;
    std::vector<Transfer> transfers_;
};

}  // namespace tovri::sandbox
