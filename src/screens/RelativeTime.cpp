#include "screens/RelativeTime.h"

#include <algorithm>

namespace tovri {
namespace {

struct Unit {
    std::chrono::seconds length;
    const char* one = nullptr;
    const char* many = nullptr;
};

constexpr Unit units[] = {{std::chrono::days(1), " day", " days"},
                          {std::chrono::hours(1), " hr", " hr"},
                          {std::chrono::minutes(1), " min", " min"},
                          {std::chrono::seconds(1), " sec", " sec"}};

// The largest that fits.
const Unit& unitOf(std::chrono::nanoseconds elapsed) {
    return *std::find_if(std::begin(units), std::end(units) - 1,
                         [elapsed](const Unit& unit) { return elapsed >= unit.length; });
}

}  // namespace

std::string relativeTimeText(std::chrono::nanoseconds elapsed) {
    elapsed = std::max(elapsed, std::chrono::nanoseconds::zero());
    const Unit& unit = unitOf(elapsed);
    const auto count = elapsed / unit.length;
    return std::to_string(count) + (count == 1 ? unit.one : unit.many);
}

std::chrono::nanoseconds timeToNextRelativeText(std::chrono::nanoseconds elapsed) {
    if (elapsed < std::chrono::nanoseconds::zero()) return std::chrono::seconds(1) - elapsed;
    const std::chrono::nanoseconds unit = unitOf(elapsed).length;
    return unit - elapsed % unit;
}

}  // namespace tovri
