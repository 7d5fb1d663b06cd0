#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include "platform/BackgroundQueue.h"
#include "platform/MainLoop.h"
#include "platform/WallClock.h"

namespace tovri::test {

// The main loop in virtual time: time passes only when a test says so, and jumps from one due job to the next. Jobs run
// in the order of their time, then of their coming. One thread.
class VirtualLoop final : public MainLoop {
public:
    [[nodiscard]] TimePoint now() const override { return now_; }

    void post(Job job) override;
    Subscription schedule(Duration delay, Job job) override;

    // Runs all that is due without letting time pass.
    void runUntilIdle() { advance(Duration::zero()); }

    // Lets time pass, and runs on the way what falls due.
    void advance(Duration duration);

    // Lets time pass until the condition holds, looked at after every job. False when it does not hold in time.
    [[nodiscard]] bool runUntil(const std::function<bool()>& condition, Duration limit = std::chrono::hours(1));

    // Whether no job and no timer is left.
    [[nodiscard]] bool isIdle() const { return jobs_->empty(); }

private:
    using Place = std::pair<TimePoint, std::uint64_t>;
    using Jobs = std::map<Place, Job>;

    Place add(Duration delay, Job job);
    bool runNext(TimePoint end);

    TimePoint now_{std::chrono::hours(24)};
    std::uint64_t sequence_ = 0;
    std::shared_ptr<Jobs> jobs_ = std::make_shared<Jobs>();
};

// A date that moves with the loop.
class VirtualClock final : public WallClock {
public:
    explicit VirtualClock(const VirtualLoop& loop) : loop_(loop) { set(Timestamp(std::chrono::days(20'000))); }

    [[nodiscard]] Timestamp now() const override {
        return atStart_ + std::chrono::duration_cast<Timestamp::duration>(loop_.now() - start_);
    }

    [[nodiscard]] std::string bootID() const override { return "start " + std::to_string(starts); }

    [[nodiscard]] std::chrono::seconds offsetFromUTC(Timestamp moment) const override { return offset(moment); }

    int starts = 1;  // of the machine
    std::function<std::chrono::seconds(Timestamp)> offset = [](Timestamp) { return std::chrono::seconds::zero(); };

    void set(Timestamp date) {
        start_ = loop_.now();
        atStart_ = date;
    }

private:
    const VirtualLoop& loop_;
    MainLoop::TimePoint start_;
    Timestamp atStart_;
};

// Does each work in one go when `latency` and up to `longestDelay` have passed, and reports one turn later. The seed
// decides the delays, and so which of several ends first.
class VirtualBackgroundQueue final : public BackgroundQueue {
public:
    explicit VirtualBackgroundQueue(VirtualLoop& loop, std::uint64_t seed = 1) : loop_(loop), numbers_(seed) {}

    Subscription run(Work work, Done done) override;

    MainLoop::Duration latency = MainLoop::Duration::zero();
    MainLoop::Duration longestDelay = MainLoop::Duration::zero();

private:
    VirtualLoop& loop_;
    std::mt19937_64 numbers_;
};

}  // namespace tovri::test
