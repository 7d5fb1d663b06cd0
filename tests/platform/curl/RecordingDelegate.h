#pragma once

#include <condition_variable>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "platform/TransferSession.h"

namespace tovri::test {

// How one transfer ended.
struct TransferOutcome {
    std::optional<Error> error;
    std::string bytes;  // of the finished file
    int endings = 0;    // more than one is a fault
};

// Keeps what a session reports, for the test's thread to wait for.
class RecordingDelegate final : public TransferDelegate {
public:
    void transferDidWrite(TransferID transfer, ByteCount written, ByteCount expected) override {
        change([&] {
            if (written < written_[transfer]) wentBack_ = true;
            written_[transfer] = written;
            expected_[transfer] = expected;
        });
    }

    void transferDidFinish(TransferID transfer, const std::filesystem::path& file) override {
        std::ostringstream bytes;
        if (std::filesystem::file_size(file) > 0) bytes << std::ifstream(file).rdbuf();
        change([&] {
            outcomes_[transfer].bytes = bytes.str();
            ++outcomes_[transfer].endings;
        });
    }

    void transferDidFail(TransferID transfer, Error error) override {
        change([&] {
            outcomes_[transfer].error = std::move(error);
            ++outcomes_[transfer].endings;
        });
    }

    [[nodiscard]] TransferOutcome waitForEnd(TransferID transfer) {
        wait([&] { return outcomes_.contains(transfer); });
        return outcomes_[transfer];
    }

    void waitForBytes(TransferID transfer, ByteCount count) {
        wait([&] { return written_[transfer] >= count; });
    }

    // How often the transfer's end has been told.
    [[nodiscard]] int endings(TransferID transfer) {
        const std::lock_guard lock(mutex_);
        return outcomes_[transfer].endings;
    }

    // As last told: bytes written and expected.
    [[nodiscard]] std::pair<ByteCount, ByteCount> progress(TransferID transfer) {
        const std::lock_guard lock(mutex_);
        return {written_[transfer], expected_[transfer]};
    }

    // For the next session, whose transfers have the same identifiers.
    void forget() {
        written_.clear();
        expected_.clear();
        outcomes_.clear();
    }

    [[nodiscard]] bool progressWentBack() const { return wentBack_; }

private:
    template <class Action>
    void change(Action action) {
        const std::lock_guard lock(mutex_);
        action();
        changed_.notify_all();
    }

    template <class Condition>
    void wait(Condition condition) {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, std::chrono::seconds(30), condition)) std::abort();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<TransferID, ByteCount> written_;
    std::map<TransferID, ByteCount> expected_;
    std::map<TransferID, TransferOutcome> outcomes_;
    bool wentBack_ = false;
};

}  // namespace tovri::test
