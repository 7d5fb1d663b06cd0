#pragma once

#include <deque>
#include <optional>

#include "platform/MainLoop.h"

namespace tovri {

// How fast requests to a host may follow one another. As fast as they come, until the host refuses one as too many:
// from then on a little slower than it had taken them, and slowly faster again.
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
    [[nodiscard]] std::optional<double> rate(TimePoint now) const;

    std::deque<TimePoint> taken_;  // the last ones
    std::optional<double> rate_;   // requests in a second, as it was at `slowed_`; none: any
    TimePoint slowed_;
    TimePoint lastSent_;
};

}  // namespace tovri
