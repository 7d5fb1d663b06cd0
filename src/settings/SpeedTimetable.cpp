#include "settings/SpeedTimetable.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <ranges>

#include "base/Trimmed.h"

namespace tovri {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr std::size_t dayCount = 7;
constexpr seconds day = std::chrono::days(1);
constexpr seconds week = std::chrono::days(dayCount);
constexpr std::array<std::string_view, dayCount> names{"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
constexpr std::string_view everyDay = "daily";
constexpr std::string_view holdWord = "hold";

seconds modulo(seconds value, seconds whole) {
    const seconds rest = value % whole;
    return rest < seconds::zero() ? rest + whole : rest;
}

// By the clock on the wall, since Monday's midnight. The first of January 1970 was a Thursday.
seconds timeOfWeek(Timestamp moment, seconds offset) {
    const auto local = std::chrono::floor<seconds>(moment).time_since_epoch() + offset;
    return modulo(local + 3 * day, week);
}

// Since Monday's midnight.
seconds beginOn(std::size_t weekday, const TimetableEntry& entry) {
    return static_cast<seconds::rep>(weekday) * day + entry.from;
}

seconds lengthOf(const TimetableEntry& entry) {
    const seconds length = modulo(entry.to - entry.from, day);
    return length == seconds::zero() ? day : length;
}

bool covers(const TimetableEntry& entry, seconds time) {
    for (std::size_t each = 0; each < dayCount; ++each)
        if (entry.days.test(each) && modulo(time - beginOn(each, entry), week) < lengthOf(entry)) return true;
    return false;
}

bool isStricter(const TimetableEntry& entry, const TimetableEntry& than) {
    if (entry.isHold() || than.isHold()) return entry.isHold() && !than.isHold();
    return *entry.limit < *than.limit;
}

// How long until an entry begins or ends.
seconds toNextBoundary(const std::vector<TimetableEntry>& entries, seconds time) {
    seconds least = week;
    for (const TimetableEntry& entry : entries) {
        for (std::size_t each = 0; each < dayCount; ++each) {
            if (!entry.days.test(each)) continue;
            const seconds begin = beginOn(each, entry);
            for (const seconds boundary : {begin, begin + lengthOf(entry)})
                if (const seconds left = modulo(boundary - time, week); left > seconds::zero())
                    least = std::min(least, left);
        }
    }
    return least;
}

// The first whole second after `from` in which the offset is another one than at `from`, as it is at `to`.
Timestamp whenOffsetChanges(Timestamp from, Timestamp to, const SpeedTimetable::ClockOffset& offset) {
    const seconds before = offset(from);
    while (to - from > seconds(1)) {
        const Timestamp middle = std::chrono::floor<seconds>(from + (to - from) / 2);
        (offset(middle) == before ? from : to) = middle;
    }
    return to;
}

// --- Text ---

std::string lowercase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return lower;
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    for (const auto part : std::views::split(text, separator)) parts.emplace_back(part.begin(), part.end());
    return parts;
}

std::optional<std::size_t> parseDay(std::string_view text) {
    const auto* const found =
        std::ranges::find_if(names, [&](std::string_view name) { return lowercase(name) == text; });
    return found == names.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - names.begin()));
}

std::optional<std::bitset<dayCount>> parseDays(std::string_view text) {
    std::bitset<dayCount> days;
    if (text == everyDay) return days.set();
    for (const std::string_view part : split(text, ',')) {
        const std::vector<std::string_view> ends = split(part, '-');
        const auto first = parseDay(ends.front());
        const auto last = parseDay(ends.back());
        if (ends.size() > 2 || !first || !last) return std::nullopt;
        for (std::size_t each = *first;; each = (each + 1) % dayCount) {
            days.set(each);
            if (each == *last) break;
        }
    }
    return days;
}

std::optional<int> parseTwoDigits(std::string_view text) {
    int number = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = text.size() == 2 && code == std::errc() && end == text.data() + text.size() && number >= 0;
    return isWhole ? std::optional(number) : std::nullopt;
}

// "24:00" is the midnight at the day's end.
std::optional<minutes> parseTime(std::string_view text) {
    if (text.size() != 5 || text[2] != ':') return std::nullopt;
    const auto hour = parseTwoDigits(text.substr(0, 2));
    const auto minute = parseTwoDigits(text.substr(3));
    if (!hour || !minute || *minute > 59) return std::nullopt;
    const minutes time = std::chrono::hours(*hour) + minutes(*minute);
    if (time > day) return std::nullopt;
    return std::chrono::duration_cast<minutes>(modulo(time, day));
}

std::optional<TimetableEntry> parseEntry(std::string_view text) {
    std::vector<std::string_view> words = split(text, ' ');
    std::erase(words, "");
    if (words.size() != 3) return std::nullopt;
    const std::vector<std::string_view> times = split(words[1], '-');
    if (times.size() != 2) return std::nullopt;
    const auto days = parseDays(words[0]);
    const auto from = parseTime(times[0]);
    const auto to = parseTime(times[1]);
    const auto limit = parseRate(words[2]);
    const bool isHold = words[2] == holdWord;
    if (!days || !from || !to || (!isHold && (!limit || limit->count < 1))) return std::nullopt;
    return TimetableEntry{*days, *from, *to, isHold ? std::nullopt : limit};
}

// Runs of at least three days are named by their ends.
std::string joinDays(std::bitset<dayCount> days, std::string_view separator, std::string_view dash) {
    std::string text;
    for (std::size_t first = 0; first < dayCount;) {
        std::size_t end = first;
        while (end < dayCount && days.test(end)) ++end;
        if (end == first) {
            ++first;
            continue;
        }
        if (!text.empty()) text += separator;
        text += names.at(first);
        const bool isRun = end - first > 2;
        if (isRun) text.append(dash).append(names.at(end - 1));
        first = isRun ? end : first + 1;
    }
    return text;
}

}  // namespace

const TimetableEntry* SpeedTimetable::at(Timestamp moment, const ClockOffset& offset) const {
    const seconds time = timeOfWeek(moment, offset(moment));
    const TimetableEntry* strictest = nullptr;
    for (const TimetableEntry& entry : entries)
        if (covers(entry, time) && (strictest == nullptr || isStricter(entry, *strictest))) strictest = &entry;
    return strictest;
}

std::optional<Timestamp> SpeedTimetable::nextChange(Timestamp moment, const ClockOffset& offset) const {
    const auto whatCounts = [&](Timestamp when) -> std::optional<std::optional<BytesPerSecond>> {
        const TimetableEntry* entry = at(when, offset);
        if (entry == nullptr) return std::nullopt;
        return std::make_optional<std::optional<BytesPerSecond>>(entry->limit);
    };
    const auto before = whatCounts(moment);
    const Timestamp end = moment + week + day;
    for (Timestamp when = std::chrono::floor<seconds>(moment); when < end;) {
        const seconds ahead = offset(when);
        Timestamp next = when + toNextBoundary(entries, timeOfWeek(when, ahead));
        if (offset(next) != ahead) next = whenOffsetChanges(when, next, offset);
        if (whatCounts(next) != before) return next;
        when = next;
    }
    return std::nullopt;
}

std::string SpeedTimetable::text() const {
    std::string text;
    for (const TimetableEntry& entry : entries) {
        if (!text.empty()) text += "; ";
        text += entry.days.all() ? std::string(everyDay) : lowercase(joinDays(entry.days, ",", "-"));
        const std::string to = entry.to == minutes::zero() ? "24:00" : timeOfDayText(entry.to);
        text.append(" ").append(timeOfDayText(entry.from)).append("-").append(to).append(" ");
        text += entry.isHold() ? std::string(holdWord) : textOf(*entry.limit);
    }
    return text;
}

std::optional<SpeedTimetable> SpeedTimetable::parse(std::string_view text) {
    SpeedTimetable table;
    for (const std::string_view part : split(text, ';')) {
        if (trimmed(part).empty()) continue;
        auto entry = parseEntry(lowercase(part));
        if (!entry || entry->days.none()) return std::nullopt;
        table.entries.push_back(*entry);
    }
    return table;
}

std::string_view dayName(std::size_t number) {
    return names.at(number);
}

std::string timeOfDayText(minutes time) {
    const auto twoDigits = [](long number) { return std::to_string(100 + number).substr(1); };
    return twoDigits(time / std::chrono::hours(1)) + ":" + twoDigits((time % std::chrono::hours(1)).count());
}

std::string daysText(std::bitset<dayCount> days) {
    return days.all() ? "Daily" : joinDays(days, ", ", "–");
}

}  // namespace tovri
