#include "limits/SpeedControl.h"

#include <algorithm>
#include <chrono>

#include "base/ByteCountFormat.h"

namespace tovri {
namespace {

// The clock on the wall may be put forward, and time passes for it while the machine sleeps.
constexpr std::chrono::seconds longestPause{20};

std::optional<BytesPerSecond> positive(BytesPerSecond rate) {
    return rate.count > 0 ? std::optional(rate) : std::nullopt;
}

}  // namespace

SpeedControl::SpeedControl(MainLoop& loop, WallClock& clock, Preferences& preferences, SpeedLimit& limit)
    : loop_(loop),
      clock_(clock),
      preferences_(preferences),
      limit_(limit),
      following_(preferences.onChange([this](std::string_view) { look(); })) {
    look();
}

std::optional<std::string> SpeedControl::holdReason() const {
    return state_.isHeld ? std::optional(text()) : std::nullopt;
}

std::string SpeedControl::text() const {
    if (state_.isHeld && state_.until.empty()) return "Held by the timetable";
    std::string text = "No limit";
    if (state_.limit) text = formatRate(*state_.limit);
    if (state_.isHeld) text = "Held";
    if (!state_.until.empty()) text += " until " + state_.until;
    return text;
}

void SpeedControl::look() {
    const Timestamp now = clock_.now();
    std::optional<Timestamp> next;
    State state = stateAt(now, next);
    timer_.reset();
    if (next) {
        const auto pause = std::clamp<MainLoop::Duration>(*next - now, std::chrono::milliseconds(1), longestPause);
        timer_ = loop_.schedule(pause, [this] { look(); });
    }
    if (state == state_) return;
    state_ = std::move(state);
    limit_.set(state_.limit);
    changes_.tell();
}

SpeedControl::State SpeedControl::stateAt(Timestamp now, std::optional<Timestamp>& next) const {
    const SpeedTimetable& timetable = preferences_.value(preference::speedTimetable);
    State state;
    state.isOn = preferences_.value(preference::limitSpeed);
    if (!state.isOn) return state;
    state.limit = positive(preferences_.value(preference::speedLimit));
    const auto offset = [this](Timestamp moment) { return clock_.offsetFromUTC(moment); };
    next = timetable.nextChange(now, offset);
    const TimetableEntry* entry = timetable.at(now, offset);
    if (entry == nullptr) return state;
    state.isHeld = entry->isHold();
    if (!state.isHeld) state.limit = entry->limit;
    if (next) state.until = momentText(*next, now);
    return state;
}

// By the day as well where that is not today.
std::string SpeedControl::momentText(Timestamp moment, Timestamp now) const {
    using std::chrono::days;
    const auto local = [this](Timestamp when) { return when.time_since_epoch() + clock_.offsetFromUTC(when); };
    const auto time = std::chrono::floor<std::chrono::minutes>(local(moment));
    const auto day = std::chrono::floor<days>(time);
    std::string text = timeOfDayText(time - day);
    if (day == std::chrono::floor<days>(local(now))) return text;
    const std::chrono::weekday weekday{std::chrono::sys_days(day)};
    return std::string(dayName(weekday.iso_encoding() - 1)) + " " + text;
}

}  // namespace tovri
