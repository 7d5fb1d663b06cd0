#include "screens/RelativeTime.h"

#include <algorithm>

namespace tovri {
namespace {

struct Unit {
    std::chrono::seconds length;
    const char* name = nullptr;
    const char* abbreviation = nullptr;  // null: its name is short enough
};

constexpr Unit units[] = {{std::chrono::days(1), " day"},
                          {std::chrono::hours(1), " hour", " hr"},
                          {std::chrono::minutes(1), " minute", " min"},
                          {std::chrono::seconds(1), " second", " sec"}};

// The largest that fits.
const Unit& unitOf(std::chrono::nanoseconds elapsed) {
    return *std::find_if(std::begin(units), std::end(units) - 1,
                         [elapsed](const Unit& unit) { return elapsed >= unit.length; });
}

}  // namespace

std::chrono::nanoseconds timeSince(Timestamp then, Timestamp now) {
    using std::chrono::seconds;
    constexpr seconds longest = std::chrono::years(100);
    const seconds coarse =
        std::chrono::floor<seconds>(now).time_since_epoch() - std::chrono::floor<seconds>(then).time_since_epoch();
    return coarse > -longest && coarse < longest ? now - then : std::clamp(coarse, -longest, longest);
}

std::string relativeTimeText(std::chrono::nanoseconds elapsed, UnitNames names) {
    elapsed = std::max(elapsed, std::chrono::nanoseconds::zero());
    const Unit& unit = unitOf(elapsed);
    const auto count = elapsed / unit.length;
    if (names == UnitNames::abbreviated && unit.abbreviation) return std::to_string(count) + unit.abbreviation;
    return std::to_string(count) + unit.name + (count == 1 ? "" : "s");
}

std::chrono::nanoseconds timeToNextRelativeText(std::chrono::nanoseconds elapsed) {
    if (elapsed < std::chrono::nanoseconds::zero()) return std::chrono::seconds(1) - elapsed;
    const std::chrono::nanoseconds unit = unitOf(elapsed).length;
    return unit - elapsed % unit;
}

}  // namespace tovri
