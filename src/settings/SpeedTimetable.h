#pragma once

#include <bitset>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/RateText.h"
#include "platform/WallClock.h"

namespace tovri {

// On certain days, from a time of the day to another, transfers together keep to a limit, or downloads are held.
struct TimetableEntry {
    std::bitset<7> days;                                 // on which it begins; Monday first
    std::chrono::minutes from{0};                        // since midnight by the clock on the wall, below 24 hours
    std::chrono::minutes to{0};                          // likewise; not after `from`: on the day after
    std::optional<BytesPerSecond> limit = std::nullopt;  // none: held

    [[nodiscard]] bool isHold() const { return !limit; }

    bool operator==(const TimetableEntry&) const = default;
};

// The week of limits, by the clock on the wall: in the night in which that is put back, an hour of it comes twice.
// Where several entries meet, the strictest counts.
struct SpeedTimetable {
    // How far the clock on the wall is ahead of UTC at a moment.
    using ClockOffset = std::function<std::chrono::seconds(Timestamp)>;

    std::vector<TimetableEntry> entries;

    // The entry that counts at that moment, or null.
    [[nodiscard]] const TimetableEntry* at(Timestamp moment, const ClockOffset& offset) const;

    // When something else counts for the first time after that moment; none: never.
    [[nodiscard]] std::optional<Timestamp> nextChange(Timestamp moment, const ClockOffset& offset) const;

    // "mon-fri 08:00-18:00 1M; sat,sun 22:00-06:00 hold"; "daily" stands for all days.
    [[nodiscard]] std::string text() const;

    // Reads such a text, in any case and with any blanks. None for anything else.
    [[nodiscard]] static std::optional<SpeedTimetable> parse(std::string_view text);

    bool operator==(const SpeedTimetable&) const = default;
};

// "Mon" of 0.
[[nodiscard]] std::string_view dayName(std::size_t number);

// "08:00".
[[nodiscard]] std::string timeOfDayText(std::chrono::minutes time);

// "Mon–Fri", "Sat, Sun", "Daily".
[[nodiscard]] std::string daysText(std::bitset<7> days);

}  // namespace tovri
