#include "screens/settings/TransferSettings.h"

#include <algorithm>

namespace tovri {
namespace {

constexpr ByteCount kilobyte = 1000;
constexpr Stepper::Bounds plainBounds{0, 10'000'000};
constexpr Stepper::Bounds timeBounds{1, plainBounds.most};  // without a limit there is no need of a time

std::int64_t kilobytesOf(BytesPerSecond rate, const Stepper::Bounds& bounds) {
    if (rate.count <= 0) return bounds.least;
    return std::max<std::int64_t>((rate.count + kilobyte / 2) / kilobyte, 1);
}

Stepper stepperOf(const char* label, BytesPerSecond rate, const Stepper::Bounds& bounds) {
    return {label, {}, kilobytesOf(rate, bounds), bounds};
}

}  // namespace

Stepper TransferSettings::limit() const {
    return stepperOf("Limit", preferences_.value(preference::speedLimit), plainBounds);
}

// A rate that was set to the byte elsewhere is not rounded by being shown.
void TransferSettings::setLimit(std::int64_t kilobytes) {
    if (kilobytes == limit().number) return;
    preferences_.assign(preference::speedLimit, BytesPerSecond{plainBounds.clamped(kilobytes) * kilobyte});
}

// --- Timetable ---

std::vector<TransferSettings::Time> TransferSettings::times() const {
    std::vector<Time> times;
    for (const TimetableEntry& entry : preferences_.value(preference::speedTimetable).entries) {
        const BytesPerSecond rate = entry.limit.value_or(preferences_.value(preference::speedLimit));
        const std::string days = daysText(entry.days);
        times.push_back({entry, days, stepperOf("Limit", rate, timeBounds),
                         days + ", " + timeOfDayText(entry.from) + " to " + timeOfDayText(entry.to)});
    }
    return times;
}

void TransferSettings::addTime() {
    using std::chrono::hours;
    SpeedTimetable timetable = preferences_.value(preference::speedTimetable);
    constexpr unsigned workdays = 0b0011111;
    timetable.entries.push_back({workdays, hours(8), hours(18), std::nullopt});
    preferences_.assign(preference::speedTimetable, std::move(timetable));
}

void TransferSettings::removeTime(std::size_t index) {
    SpeedTimetable timetable = preferences_.value(preference::speedTimetable);
    if (index >= timetable.entries.size()) return;
    timetable.entries.erase(timetable.entries.begin() + static_cast<std::ptrdiff_t>(index));
    preferences_.assign(preference::speedTimetable, std::move(timetable));
}

void TransferSettings::change(std::size_t index, const std::function<void(TimetableEntry&)>& change) {
    SpeedTimetable timetable = preferences_.value(preference::speedTimetable);
    if (index >= timetable.entries.size()) return;
    change(timetable.entries[index]);
    if (timetable != preferences_.value(preference::speedTimetable))
        preferences_.assign(preference::speedTimetable, std::move(timetable));
}

void TransferSettings::setBegin(std::size_t index, std::chrono::minutes from) {
    change(index, [from](TimetableEntry& entry) { entry.from = from; });
}

void TransferSettings::setEnd(std::size_t index, std::chrono::minutes to) {
    change(index, [to](TimetableEntry& entry) { entry.to = to; });
}

void TransferSettings::setHolds(std::size_t index, bool holds) {
    change(index, [this, holds](TimetableEntry& entry) {
        if (holds == entry.isHold()) return;
        const std::int64_t rate = kilobytesOf(preferences_.value(preference::speedLimit), timeBounds);
        entry.limit = holds ? std::nullopt : std::optional(BytesPerSecond{rate * kilobyte});
    });
}

void TransferSettings::setTimeLimit(std::size_t index, std::int64_t kilobytes) {
    change(index, [kilobytes](TimetableEntry& entry) {
        if (entry.isHold() || kilobytesOf(*entry.limit, timeBounds) == kilobytes) return;
        entry.limit = BytesPerSecond{timeBounds.clamped(kilobytes) * kilobyte};
    });
}

void TransferSettings::setDay(std::size_t index, std::size_t day, bool isOn) {
    change(index, [day, isOn](TimetableEntry& entry) {
        auto days = entry.days;
        if (days.set(day, isOn).any()) entry.days = days;
    });
}

// --- Disks ---

Stepper TransferSettings::reserve() const {
    const auto& range = preference::reservedMebibytes.range;
    return {"Keep free on every disk", {}, preferences_.reservedMebibytes(), {range.least, range.mostOffered}};
}

void TransferSettings::setReserve(std::int64_t mebibytes) {
    if (mebibytes != reserve().number) preferences_.setReservedMebibytes(reserve().bounds.clamped(mebibytes));
}

}  // namespace tovri
