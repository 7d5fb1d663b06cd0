#pragma once

#include "platform/MainLoop.h"

namespace tovri {

// How long an item may go without a new byte through faults of its own. What it spends with others' faults, and what it
// waits for a slot, does not count.
class Patience {
public:
    explicit Patience(MainLoop::Duration limit) : limit_(limit) {}

    void beginsTry(MainLoop::TimePoint now) { mark_ = now; }

    void gains(MainLoop::TimePoint now) {
        spent_ = {};
        mark_ = now;
    }

    // A try has failed by a fault of its own, and the next one comes so much later.
    void failsTry(MainLoop::TimePoint now, MainLoop::Duration delay) { spent_ += now - mark_ + delay; }

    [[nodiscard]] bool isUsedUp() const { return spent_ >= limit_; }

private:
    MainLoop::Duration limit_;
    MainLoop::Duration spent_{};
    MainLoop::TimePoint mark_;
};

}  // namespace tovri
