#pragma once

#include <chrono>
#include <deque>
#include <optional>

#include "platform/MainLoop.h"

namespace tovri {

// How fast requests to a host may follow one another. As fast as they come, until the host refuses one as too many:
// from then on slower by a fifth, more and more slowly back to where that was, and, if none is refused there, faster
// and faster from it. The curve is that of CUBIC (RFC 9438, section 4.2), which looks for what a line takes.
class RequestPace {
public:
    using Duration = MainLoop::Duration;
    using TimePoint = MainLoop::TimePoint;

    // When the next request may go; past or present: now.
    [[nodiscard]] TimePoint next(TimePoint now) const;

    // Whether requests have to keep to one.
    [[nodiscard]] bool isKept(TimePoint now) const { return rate(now).has_value(); }

    void noteSent(TimePoint now);

    // It was answered.
    void noteTaken(TimePoint now);

    // One was too many.
    void slowDown(TimePoint now);

private:
    // Requests in a second.
    [[nodiscard]] std::optional<double> rate(TimePoint now) const;
    [[nodiscard]] double takenRate(TimePoint now) const;

    std::deque<TimePoint> taken_;             // the last ones
    std::optional<double> refused_;           // as fast as this was too fast; none: any rate
    std::chrono::duration<double> return_{};  // the time from `slowed_` until they are as fast again
    TimePoint slowed_;
    TimePoint lastSent_;
};

}  // namespace tovri
