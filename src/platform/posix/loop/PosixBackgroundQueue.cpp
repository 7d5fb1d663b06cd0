#include "platform/posix/loop/PosixBackgroundQueue.h"

#include <algorithm>

namespace tovri {

struct PosixBackgroundQueue::Job {
    Work work;
    std::stop_source stop;
    Done done;  // main thread only; empty once it was taken back
};

PosixBackgroundQueue::~PosixBackgroundQueue() {
    std::deque<std::shared_ptr<Job>> dropped;
    {
        const std::scoped_lock lock(shared_->mutex);
        shared_->isEnding = true;
        dropped.swap(shared_->waiting);
        for (const auto& job : shared_->running) job->stop.request_stop();
    }
    shared_->wakeUp.notify_all();
    for (std::thread& thread : threads_) thread.join();
}

Subscription PosixBackgroundQueue::run(Work work, Done done) {
    auto job = std::make_shared<Job>();
    job->work = std::move(work);
    job->done = std::move(done);
    {
        const std::scoped_lock lock(shared_->mutex);
        shared_->waiting.push_back(job);
        if (shared_->waiting.size() > shared_->idleThreads && threads_.size() < limit_)
            threads_.emplace_back([this] { this->work(); });
    }
    shared_->wakeUp.notify_one();
    return Subscription([job, shared = shared_] {
        job->stop.request_stop();
        const Done unwanted = std::exchange(job->done, nullptr);
        const std::scoped_lock lock(shared->mutex);
        std::erase(shared->waiting, job);
    });
}

void PosixBackgroundQueue::work() {
    std::unique_lock lock(shared_->mutex);
    while (true) {
        ++shared_->idleThreads;
        shared_->wakeUp.wait(lock, [this] { return shared_->isEnding || !shared_->waiting.empty(); });
        --shared_->idleThreads;
        if (shared_->isEnding) return;
        std::shared_ptr<Job> job = std::move(shared_->waiting.front());
        shared_->waiting.pop_front();
        shared_->running.insert(job);
        lock.unlock();

        job->work(job->stop.get_token());
        job->work = nullptr;
        lock.lock();
        shared_->running.erase(job);
        // Handed over rather than shared: what `done` holds goes on the main thread.
        loop_.post([job = std::move(job)] {
            Done report = std::exchange(job->done, nullptr);
            if (report) report();
        });
    }
}

}  // namespace tovri
