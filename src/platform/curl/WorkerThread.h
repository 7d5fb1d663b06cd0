#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tovri {

// One thread that runs jobs which may block, in their order. Destroying it finishes the job that runs and drops the
// others.
class WorkerThread {
public:
    using Job = std::move_only_function<void()>;

    WorkerThread();
    WorkerThread(const WorkerThread&) = delete;
    WorkerThread& operator=(const WorkerThread&) = delete;
    ~WorkerThread();

    // Any thread.
    void run(Job job);

private:
    void work();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    bool isStopping_ = false;
    std::thread thread_;
};

}  // namespace tovri
