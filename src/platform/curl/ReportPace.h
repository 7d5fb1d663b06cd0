#pragma once

#include <chrono>

namespace tovri {

// Thins frequent reports out to some twenty a second, the first of them after the same time.
class ReportPace {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    // Whether it is time for a report; it is then taken as made.
    [[nodiscard]] bool isDue(TimePoint now) {
        if (now - last_ < interval) return false;
        last_ = now;
        return true;
    }

private:
    static constexpr std::chrono::milliseconds interval{45};
    TimePoint last_ = TimePoint::clock::now();
};

}  // namespace tovri
