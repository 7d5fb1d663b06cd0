#include "screens/DateText.h"

#include <fmt/chrono.h>

namespace tovri {

std::string dateText(Timestamp time, std::chrono::seconds aheadOfUTC) {
    const auto local = std::chrono::floor<std::chrono::seconds>(time) + aheadOfUTC;
    const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(local));
    return fmt::format("{} {:%b %Y, %H:%M}", static_cast<unsigned>(date.day()), local);
}

}  // namespace tovri
