#pragma once

#include <functional>

#include "app/TovriApp.h"

namespace tovri {

// Brings the application to rest when it is to end: transfers hand over their resume tokens, then the queue and the
// rules are written. At the latest after 1.5 seconds, whatever hangs.
class Ending {
public:
    // Both outlive the ending.
    Ending(TovriApp& app, MainLoop& loop) : app_(app), loop_(loop) {}

    // Told once everything is written, or what could not be.
    using Done = std::function<void(const Result<void>& saved)>;

    // Only the first call does anything.
    void begin(Done done);

    [[nodiscard]] bool hasBegun() const { return hasBegun_; }

private:
    void finish();

    TovriApp& app_;
    MainLoop& loop_;
    Done done_;
    bool hasBegun_ = false;
    Subscription deadline_;
};

}  // namespace tovri
