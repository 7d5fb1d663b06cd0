#include "downloads/retrying/RetryAfter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <vector>

namespace tovri {
namespace {

using std::chrono::seconds;
using std::chrono::sys_seconds;

// Only digits; more of them than fit are as many as fit.
std::optional<std::int64_t> parseNumber(std::string_view text) {
    if (text.empty() || !std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; })) return std::nullopt;
    std::int64_t number = INT64_MAX;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::optional<int> parseBelow(std::string_view text, int limit) {
    const auto number = parseNumber(text);
    return number && *number < limit ? std::optional(static_cast<int>(*number)) : std::nullopt;
}

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(separators), text.size());
        if (end > 0) parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::optional<unsigned> parseMonth(std::string_view text) {
    constexpr std::array<std::string_view, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const auto found = std::ranges::find(months, text);
    if (found == months.end()) return std::nullopt;
    return static_cast<unsigned>(found - months.begin()) + 1;
}

std::optional<seconds> parseTimeOfDay(std::string_view text) {
    const auto parts = split(text, ":");
    if (parts.size() != 3) return std::nullopt;
    const auto hour = parseBelow(parts[0], 24);
    const auto minute = parseBelow(parts[1], 60);
    const auto second = parseBelow(parts[2], 61);  // a leap second
    if (!hour || !minute || !second) return std::nullopt;
    return std::chrono::hours(*hour) + std::chrono::minutes(*minute) + seconds(*second);
}

// Of two digits; what would lie far ahead is of the last century.
int century(int year) {
    return year < 70 ? 2000 + year : 1900 + year;
}

std::optional<seconds> untilReset(const RetryHints& hints) {
    constexpr std::int64_t firstDate = 1'000'000'000;  // what is less is a time to wait
    const auto reset = parseNumber(hints.rateLimitReset);
    if (!reset) return std::nullopt;
    if (*reset < firstDate) return seconds(*reset);
    const auto date = parseHTTPDate(hints.date);
    if (!date) return std::nullopt;
    return seconds(*reset - date->time_since_epoch().count());
}

std::optional<seconds> untilRetry(const RetryHints& hints) {
    if (const auto number = parseNumber(hints.retryAfter)) return seconds(*number);
    const auto retry = parseHTTPDate(hints.retryAfter);
    const auto date = parseHTTPDate(hints.date);
    if (!retry || !date) return std::nullopt;
    return *retry - *date;
}

}  // namespace

std::optional<sys_seconds> parseHTTPDate(std::string_view text) {
    const auto parts = split(text, " ,-");
    const bool isOfC = parts.size() == 5;  // "Sun Nov  6 08:49:37 1994"
    if (!isOfC && (parts.size() != 6 || parts[5] != "GMT")) return std::nullopt;
    const auto day = parseBelow(parts[isOfC ? 2 : 1], 32);
    const auto month = parseMonth(parts[isOfC ? 1 : 2]);
    const std::string_view yearText = parts[isOfC ? 4 : 3];
    const auto year = parseBelow(yearText, 10'000);
    const auto time = parseTimeOfDay(parts[isOfC ? 3 : 4]);
    if (!day || !month || !year || !time) return std::nullopt;
    const std::chrono::year_month_day date{std::chrono::year(yearText.size() == 2 ? century(*year) : *year),
                                           std::chrono::month(*month), std::chrono::day(static_cast<unsigned>(*day))};
    if (!date.ok()) return std::nullopt;
    return std::chrono::sys_days(date) + *time;
}

std::optional<seconds> retryAfter(const RetryHints& hints, Refusal refusal) {
    std::optional<seconds> wait = untilRetry(hints);
    if (!wait && refusal == Refusal::tooManyRequests) wait = untilReset(hints);
    if (!wait) return std::nullopt;
    return std::clamp(*wait, seconds(0), longestRetryAfter);
}

}  // namespace tovri
