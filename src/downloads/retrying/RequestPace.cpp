#include "downloads/retrying/RequestPace.h"

#include <algorithm>
#include <cmath>

namespace tovri {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds window{2};     // in which requests are counted
constexpr double caution = 0.8;  // of what the host had taken
constexpr double slowest = 1;    // requests in a second
constexpr double fastest = 100;  // from there on there is no pace
constexpr double growth = 1.25;  // in `growthTime`
constexpr Seconds growthTime{30};

}  // namespace

std::optional<double> RequestPace::rate(TimePoint now) const {
    if (!rate_) return std::nullopt;
    const double grown = *rate_ * std::pow(growth, Seconds(now - slowed_) / growthTime);
    return grown < fastest ? std::optional(grown) : std::nullopt;
}

RequestPace::TimePoint RequestPace::next(TimePoint now) const {
    const auto current = rate(now);
    if (!current) return now;
    return lastSent_ + std::chrono::duration_cast<Duration>(Seconds(1 / *current));
}

void RequestPace::noteSent(TimePoint now) {
    lastSent_ = now;
}

void RequestPace::noteTaken(TimePoint now) {
    taken_.push_back(now);
    while (now - taken_.front() > window) taken_.pop_front();
}

void RequestPace::slowDown(TimePoint now) {
    while (!taken_.empty() && now - taken_.front() > window) taken_.pop_front();
    // Of a beginning that was shorter than a second nobody knows how it would have gone on.
    const Seconds span = taken_.empty() ? window : std::clamp(Seconds(now - taken_.front()), Seconds(1), window);
    const double taken = static_cast<double>(taken_.size()) / span.count();
    const auto current = rate(now);
    rate_ = std::max(slowest, caution * current.value_or(taken));
    slowed_ = now;
}

}  // namespace tovri
