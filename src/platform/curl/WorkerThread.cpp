#include "platform/curl/WorkerThread.h"

#include <utility>

#include "platform/curl/SignalMask.h"

namespace tovri {

WorkerThread::WorkerThread() {
    const SignalMask blocked;
    thread_ = std::thread([this] { work(); });
}

WorkerThread::~WorkerThread() {
    {
        const std::lock_guard lock(mutex_);
        isStopping_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void WorkerThread::run(Job job) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    changed_.notify_one();
}

void WorkerThread::work() {
    std::unique_lock lock(mutex_);
    while (true) {
        changed_.wait(lock, [this] { return isStopping_ || !jobs_.empty(); });
        if (isStopping_) return;
        Job job = std::move(jobs_.front());
        jobs_.pop_front();
        lock.unlock();
        job();
        job = nullptr;
        lock.lock();
    }
}

}  // namespace tovri
