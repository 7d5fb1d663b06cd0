#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "platform/BackgroundQueue.h"
#include "platform/MainLoop.h"

namespace tovri {

// A few threads, each started on its first need. Destroying the queue drops what has not begun, requests stop of what
// has, and waits for it.
class PosixBackgroundQueue final : public BackgroundQueue {
public:
    // `loop` outlives the queue.
    explicit PosixBackgroundQueue(MainLoop& loop, std::size_t threads = 4) : loop_(loop), limit_(threads) {}

    ~PosixBackgroundQueue() override;

    // What was taken back before it began is never run.
    Subscription run(Work work, Done done) override;

private:
    struct Job;

    // What the threads share with the main thread.
    struct Shared {
        std::mutex mutex;
        std::condition_variable wakeUp;
        std::deque<std::shared_ptr<Job>> waiting;
        std::set<std::shared_ptr<Job>> running;
        std::size_t idleThreads = 0;
        bool isEnding = false;
    };

    void work();

    MainLoop& loop_;
    std::size_t limit_;
    std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
    std::vector<std::thread> threads_;
};

}  // namespace tovri
