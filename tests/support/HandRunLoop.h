#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/MainLoop.h"
#include "support/ComesTrue.h"

namespace tovri::test {

// A main loop that runs what was posted only when the test says so, so that a test can act between an answer's arrival
// and its delivery.
class HandRunLoop final : public MainLoop {
public:
    [[nodiscard]] TimePoint now() const override { return std::chrono::steady_clock::now(); }

    void post(Job job) override {
        const std::lock_guard lock(mutex_);
        posted_.push_back(std::move(job));
        changed_.notify_one();
    }

    Subscription schedule(Duration, Job) override { return {}; }

    // False when nothing was posted for too long.
    [[nodiscard]] bool waitForPost() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, patience, [this] { return !posted_.empty(); });
    }

    void runPosted() {
        std::vector<Job> jobs;
        {
            const std::lock_guard lock(mutex_);
            jobs.swap(posted_);
        }
        for (Job& job : jobs) job();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Job> posted_;
};

}  // namespace tovri::test
