#include "downloads/connections/ConnectionCount.h"

namespace tovri {

void ConnectionCount::measure(TimePoint now, int running, ByteCount received) {
    constexpr double leastGain = 1.15;
    if (running != wanted()) {
        window_.reset();
        return;
    }
    if (!window_) window_ = Window{now, received};
    const Duration time = now - window_->begin;
    if (time < window) return;
    const double rate = static_cast<double>(received - window_->received) / std::chrono::duration<double>(time).count();
    if (before_ && rate < leastGain * *before_) {
        if (time >= longWindow) stepBack(now);
        return;
    }
    before_.reset();
    window_ = Window{now, received};
    stepUp(now, rate);
}

void ConnectionCount::stepUp(TimePoint now, double rate) {
    if (step_ >= highest_ || rate >= static_cast<double>(fastEnough) || (notBefore_ && now < *notBefore_)) return;
    ++step_;
    before_ = rate;
    window_.reset();
}

void ConnectionCount::stepBack(TimePoint now) {
    if (step_ > 0) --step_;
    before_.reset();
    window_.reset();
    notBefore_ = now + patience;
}

void ConnectionCount::noteRefusal(TimePoint now) {
    stepBack(now);
    highest_ = step_;
}

}  // namespace tovri
