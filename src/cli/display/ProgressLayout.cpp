#include "cli/display/ProgressLayout.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "cli/display/DisplayText.h"

namespace tovri::cli {
namespace {

constexpr std::size_t percentColumns = 4;
constexpr std::size_t speedColumns = 10;
constexpr std::size_t remainingColumns = 13;

// How wide each part of a row is; 0 leaves it out.
struct Columns {
    std::size_t name;
    std::size_t bar;
    std::size_t speed;
    std::size_t remaining;
};

// The last column stays free: some terminals break the line when it is filled.
Columns columnsFor(std::size_t width) {
    const std::size_t usable = width > 1 ? width - 1 : 1;
    Columns columns{0, 0, 0, 0};
    std::size_t used = percentColumns + 1;
    if (usable >= 36) {
        columns.bar = usable < 60 ? 6 : std::clamp<std::size_t>(usable / 5, 10, 30);
        columns.speed = speedColumns;
        used += columns.bar + 1 + columns.speed + 1;
    }
    if (usable >= 60) {
        columns.remaining = remainingColumns;
        used += columns.remaining + 1;
    }
    columns.name = usable > used ? usable - used : 0;
    return columns;
}

std::string colored(std::string text, std::string_view code, bool hasColor) {
    return hasColor && !text.empty() ? fmt::format("\x1b[{}m{}\x1b[0m", code, text) : text;
}

std::string repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) result += text;
    return result;
}

std::string bar(double fraction, std::size_t columns, const ProgressStyle& style) {
    const auto filled =
        static_cast<std::size_t>(std::floor(std::clamp(fraction, 0.0, 1.0) * static_cast<double>(columns)));
    const std::string_view full = style.hasUnicode ? "\xE2\x96\x88" : "#";
    const std::string_view empty = style.hasUnicode ? "\xE2\x96\x91" : "-";
    return colored(repeated(full, filled), "36", style.hasColor) +
           colored(repeated(empty, columns - filled), "2", style.hasColor);
}

std::string percent(double fraction) {
    return fmt::format("{}%", static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100));
}

std::string rowLine(const ProgressRow& row, const ProgressStyle& style) {
    const Columns columns = columnsFor(style.columns);
    std::string line = leftAligned(row.name, columns.name);
    if (!row.state.empty() && columns.bar > 0) {
        const std::size_t left = columns.bar + percentColumns + 1 + (columns.speed > 0 ? columns.speed + 1 : 0) +
                                 (columns.remaining > 0 ? columns.remaining + 1 : 0);
        return line + " " + colored(shortened(row.state, left), "33", style.hasColor);
    }
    if (columns.bar > 0) line += " " + bar(row.fraction, columns.bar, style);
    line += " " + rightAligned(percent(row.fraction), percentColumns);
    if (columns.speed > 0) line += " " + rightAligned(row.speed, columns.speed);
    if (columns.remaining > 0) line += " " + rightAligned(row.remaining, columns.remaining);
    return line;
}

// The parts in their order, without those that fit no more; what matters most stays longest.
std::string totalLine(const ProgressTotal& total, const ProgressStyle& style) {
    const std::string count = fmt::format("Total {} of {}", total.finished, total.count);
    const std::string parts[] = {count, total.percent, total.sizes, total.speed, total.remaining};
    bool isShown[] = {true, true, true, true, true};
    const std::size_t firstToGo[] = {2, 4, 3, 1};
    const std::string_view separator = style.hasUnicode ? " \xC2\xB7 " : ", ";
    const auto joined = [&] {
        std::string line;
        for (std::size_t i = 0; i < std::size(parts); ++i)
            if (isShown[i] && !parts[i].empty()) line += (line.empty() ? "" : std::string(separator)) + parts[i];
        return line;
    };
    for (const std::size_t part : firstToGo) {
        if (columnsOf(joined()) < style.columns) break;
        isShown[part] = false;
    }
    return colored(shortened(joined(), style.columns > 1 ? style.columns - 1 : 1), "1", style.hasColor);
}

}  // namespace

std::vector<std::string> layOut(const ProgressPicture& picture, const ProgressStyle& style) {
    std::vector<std::string> lines;
    const std::size_t room = style.rows > 3 ? style.rows - 3 : 1;  // the total, what hides rows, and a line above
    const bool fits = picture.rows.size() <= room;
    const std::size_t shown = fits ? picture.rows.size() : room - 1;
    for (std::size_t i = 0; i < shown; ++i) lines.push_back(rowLine(picture.rows[i], style));
    if (!fits) lines.push_back(shortened(fmt::format("and {} more", picture.rows.size() - shown), style.columns - 1));
    lines.push_back(totalLine(picture.total, style));
    return lines;
}

}  // namespace tovri::cli
