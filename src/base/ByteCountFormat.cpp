#include "base/ByteCountFormat.h"

#include <array>
#include <cstdint>
#include <string_view>

namespace tovri {
namespace {

// A unit is shown in steps of its last digit.
struct Unit {
    std::string_view name;
    std::uint64_t step;
    std::uint64_t stepsPerUnit;
};

constexpr std::array<Unit, 6> units{{{"KB", 1'000, 1},
                                     {"MB", 100'000, 10},
                                     {"GB", 10'000'000, 100},
                                     {"TB", 10'000'000'000, 100},
                                     {"PB", 10'000'000'000'000, 100},
                                     {"EB", 10'000'000'000'000'000, 100}}};

std::string inUnit(std::uint64_t steps, const Unit& unit) {
    std::string text = std::to_string(steps / unit.stepsPerUnit);
    if (const std::uint64_t fraction = steps % unit.stepsPerUnit; fraction != 0) {
        std::string digits = std::to_string(unit.stepsPerUnit + fraction).substr(1);
        while (digits.ends_with('0')) digits.pop_back();
        text += '.' + digits;
    }
    return text.append(" ").append(unit.name);
}

std::string magnitudeText(std::uint64_t count) {
    if (count == 1) return "1 byte";
    if (count < 1'000) return std::to_string(count) + " bytes";
    for (const Unit& unit : units) {
        // Rounded first: 999,960 bytes read as 1 MB, not as 1000 KB.
        const std::uint64_t steps = (count + unit.step / 2) / unit.step;
        if (steps < 1'000 * unit.stepsPerUnit) return inUnit(steps, unit);
    }
    return inUnit((count + units.back().step / 2) / units.back().step, units.back());
}

}  // namespace

std::string formatGroupedNumber(ByteCount number) {
    std::string text = std::to_string(number);
    const std::size_t first = text.find_first_not_of('-');
    for (std::size_t at = text.size(); at > first + 3;) text.insert(at -= 3, 1, ',');
    return text;
}

std::string formatRate(BytesPerSecond rate) {
    return rate.count < 0 ? std::string(noNumber) : formatByteCount(rate.count) + "/s";
}

std::string formatExactByteCount(ByteCount count) {
    if (count < 0) return std::string(noNumber);
    return formatGroupedNumber(count) + (count == 1 ? " byte" : " bytes");
}

std::string formatByteCount(ByteCount count) {
    return count < 0 ? std::string(noNumber) : magnitudeText(static_cast<std::uint64_t>(count));
}

}  // namespace tovri
