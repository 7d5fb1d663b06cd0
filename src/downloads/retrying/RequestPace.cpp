#include "downloads/retrying/RequestPace.h"

#include <algorithm>
#include <cmath>

namespace tovri {
namespace {

using Seconds = std::chrono::duration<double>;

constexpr Seconds window{2};        // in which requests are counted
constexpr double caution = 0.2;     // of the rate that was refused
constexpr double slowest = 0.3;     // requests in a second
constexpr double fastest = 100;     // from there on there is no pace
constexpr Seconds shortestWay{30};  // back to the rate that was refused
constexpr double fewestOnWay = 60;  // requests, or a host that takes few would have to refuse many of them

// Where nobody knows what the host takes.
constexpr double unknown = 1;
constexpr Seconds wayFromUnknown{3};

}  // namespace

std::optional<double> RequestPace::rate(TimePoint now) const {
    if (!refused_) return std::nullopt;
    const double way = (now - slowed_) / return_;
    const double current = *refused_ * (1 + caution * std::pow(way - 1, 3));
    return current < fastest ? std::optional(current) : std::nullopt;
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

// Of a beginning that was shorter than a second nobody knows how it would have gone on.
double RequestPace::takenRate(TimePoint now) const {
    const auto first = std::ranges::find_if(taken_, [&](TimePoint taken) { return now - taken <= window; });
    if (first == taken_.end()) return 0;
    return static_cast<double>(taken_.end() - first) / std::clamp(Seconds(now - *first), Seconds(1), window).count();
}

// What is refused on the way back already is refused for less than was thought.
void RequestPace::slowDown(TimePoint now) {
    const auto current = rate(now);
    const bool isEarly = current && now - slowed_ < return_ / 2;
    const double tooFast = current ? *current * (isEarly ? 1 - caution : 1) : takenRate(now);
    const bool isKnown = current || tooFast >= 2 * unknown;
    refused_ = isKnown ? std::max(slowest, tooFast) : unknown;
    return_ = isKnown ? std::max(shortestWay, Seconds(fewestOnWay / *refused_)) : wayFromUnknown;
    slowed_ = now;
}

}  // namespace tovri
