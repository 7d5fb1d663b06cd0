#include "platform/posix/loop/PosixVolumeQueues.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "platform/posix/loop/ThreadStart.h"

namespace tovri {

class PosixVolumeQueues::Lanes : public std::enable_shared_from_this<Lanes> {
public:
    explicit Lanes(std::chrono::milliseconds idle) : idle_(idle) {}

    void add(const std::string& name, Work work) {
        const std::scoped_lock lock(mutex_);
        if (isOver_) return;
        const auto [lane, isNew] = lanes_.try_emplace(name);
        lane->second.waiting.push_back(std::move(work));
        ++lane->second.unfinished;
        ++unfinished_;
        if (isNew) {
            startWithoutSignals([self = shared_from_this(), lane] { self->workOff(lane); }).detach();
        } else {
            lane->second.hasMore.notify_one();
        }
    }

    bool waitFor(const std::string& name, std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        return changed_.wait_until(lock, end(limit), [&] {
            const auto lane = lanes_.find(name);
            return lane == lanes_.end() || lane->second.unfinished == 0;
        });
    }

    bool finish(std::chrono::milliseconds limit) {
        std::vector<std::deque<Work>> dropped;  // goes when the lock is free: what work holds may come back here
        std::unique_lock lock(mutex_);
        if (changed_.wait_until(lock, end(limit), [this] { return unfinished_ == 0; })) return true;
        isOver_ = true;
        for (auto& [name, lane] : lanes_) {
            unfinished_ -= lane.waiting.size();
            lane.unfinished -= lane.waiting.size();
            dropped.push_back(std::exchange(lane.waiting, {}));
        }
        return false;
    }

    void limitWaits(std::chrono::milliseconds limit) {
        const std::scoped_lock lock(mutex_);
        latestEnd_ = end(limit);
    }

    // Sends the idle threads home.
    void dismiss(std::chrono::milliseconds limit) {
        std::unique_lock lock(mutex_);
        isOver_ = true;
        for (auto& [name, lane] : lanes_) lane.hasMore.notify_one();
        changed_.wait_for(lock, limit, [this] { return lanes_.size() == unfinished_; });
    }

private:
    using Clock = std::chrono::steady_clock;

    // Of a wait that begins now.
    [[nodiscard]] Clock::time_point end(std::chrono::milliseconds limit) const {
        return std::min(Clock::now() + limit, latestEnd_);
    }

    struct Lane {
        std::deque<Work> waiting;
        std::size_t unfinished = 0;  // work that waits or is under way
        std::condition_variable hasMore;
    };

    using Place = std::map<std::string, Lane>::iterator;

    // A lane's thread; the lane goes with it.
    void workOff(Place lane) {
        std::unique_lock lock(mutex_);
        const auto isCalled = [&] { return isOver_ || !lane->second.waiting.empty(); };
        while (lane->second.hasMore.wait_for(lock, idle_, isCalled) && !lane->second.waiting.empty()) {
            Work work = std::move(lane->second.waiting.front());
            lane->second.waiting.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            lock.lock();
            --unfinished_;
            --lane->second.unfinished;
            changed_.notify_all();
        }
        lanes_.erase(lane);
        changed_.notify_all();
    }

    std::chrono::milliseconds idle_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::map<std::string, Lane> lanes_;
    std::size_t unfinished_ = 0;  // work that waits or is under way
    Clock::time_point latestEnd_ = Clock::time_point::max();
    bool isOver_ = false;  // nothing is taken or begun any more
};

PosixVolumeQueues::PosixVolumeQueues(Patience patience)
    : patienceAtEnd_(patience.atEnd), lanes_(std::make_shared<Lanes>(patience.idle)) {}

PosixVolumeQueues::~PosixVolumeQueues() {
    static_cast<void>(lanes_->finish(patienceAtEnd_));
    lanes_->dismiss(patienceAtEnd_);
}

void PosixVolumeQueues::run(const std::string& lane, Work work) {
    lanes_->add(lane, std::move(work));
}

bool PosixVolumeQueues::waitFor(const std::string& lane, std::chrono::milliseconds limit) {
    return lanes_->waitFor(lane, limit);
}

bool PosixVolumeQueues::finish(std::chrono::milliseconds limit) {
    return lanes_->finish(limit);
}

void PosixVolumeQueues::limitWaits(std::chrono::milliseconds limit) {
    lanes_->limitWaits(limit);
}

}  // namespace tovri
