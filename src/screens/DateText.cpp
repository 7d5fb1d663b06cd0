#include "screens/DateText.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string_view>

#include <fmt/chrono.h>

namespace tovri {
namespace {

using namespace std::chrono;

// Fractions of a second, and that it is UTC, may follow. A Timestamp holds some centuries alone.
std::optional<Timestamp> parseServiceDate(std::string_view text) {
    constexpr std::string_view form = "0000-00-00T00:00:00";
    constexpr std::string_view digits = "0123456789";
    const auto fits = [&](char letter, char place) { return place == '0' ? digits.contains(letter) : letter == place; };
    if (text.size() < form.size() || !std::ranges::equal(text.substr(0, form.size()), form, fits)) return std::nullopt;
    if (text.substr(form.size()).find_first_not_of(".0123456789Z") != std::string_view::npos) return std::nullopt;
    const auto number = [&](std::size_t first, std::size_t count) {
        int value = 0;
        for (const char digit : text.substr(first, count)) value = 10 * value + (digit - '0');
        return value;
    };
    const year_month_day date{year(number(0, 4)), month(static_cast<unsigned>(number(5, 2))),
                              day(static_cast<unsigned>(number(8, 2)))};
    if (!date.ok() || date.year() < year(1900) || date.year() > year(2200)) return std::nullopt;
    return sys_days(date) + hours(number(11, 2)) + minutes(number(14, 2)) + seconds(number(17, 2));
}

}  // namespace

std::string dateText(Timestamp time, const WallClock& clock) {
    const auto onWall = floor<seconds>(time) + clock.offsetFromUTC(time);
    const year_month_day date(floor<days>(onWall));
    return fmt::format("{} {:%b %Y, %T}", static_cast<unsigned>(date.day()), onWall);
}

std::string dateText(const std::string& serviceDate, const WallClock& clock) {
    const auto time = parseServiceDate(serviceDate);
    return time ? dateText(*time, clock) : serviceDate;
}

}  // namespace tovri
