#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tovri::sandbox {

// Lets answers wait, and wakes them all when the sandbox stops.
class Pause {
public:
    // False when the sandbox stops before the time is over.
    bool wait(std::chrono::duration<double> duration) {
        std::unique_lock lock(mutex_);
        return !wake_.wait_for(lock, duration, [this] { return isStopping_; });
    }

    void stop() {
        const std::scoped_lock lock(mutex_);
        isStopping_ = true;
        wake_.notify_all();
    }

    void restart() {
        const std::scoped_lock lock(mutex_);
        isStopping_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable wake_;
    bool isStopping_ = false;
};

}  // namespace tovri::sandbox
