#include "base/RateText.h"

#include <charconv>
#include <limits>

namespace tovri {
namespace {

constexpr std::string_view units = "BKMG";  // each 1024 times the one before

}  // namespace

std::optional<BytesPerSecond> parseRate(std::string_view text) {
    ByteCount number = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    const std::string_view unit(end, text.data() + text.size());
    if (code != std::errc() || number < 0 || unit.size() > 1) return std::nullopt;
    if (unit.empty()) return BytesPerSecond{number};
    const char upper = unit.front() >= 'a' ? static_cast<char>(unit.front() - 'a' + 'A') : unit.front();
    const std::size_t power = units.find(upper);
    if (power == std::string_view::npos) return std::nullopt;
    const ByteCount factor = ByteCount{1} << (10 * power);
    if (number > std::numeric_limits<ByteCount>::max() / factor) return std::nullopt;
    return BytesPerSecond{number * factor};
}

std::string textOf(BytesPerSecond rate) {
    ByteCount number = rate.count;
    std::size_t power = 0;
    while (number != 0 && number % 1024 == 0 && power + 1 < units.size()) {
        number /= 1024;
        ++power;
    }
    std::string text = std::to_string(number);
    if (power > 0) text += units[power];
    return text;
}

}  // namespace tovri
