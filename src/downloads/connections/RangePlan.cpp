#include "downloads/connections/RangePlan.h"

#include <algorithm>
#include <ranges>
#include <utility>

namespace tovri {
namespace {

// Where two connections meet, so that no two of them write to one page.
constexpr ByteCount alignment = ByteCount{64} << 10U;

}  // namespace

RangePlan::RangePlan(std::vector<ByteRange> missing) {
    for (const ByteRange& range : missing) addFree(range);
}

std::optional<RangePlan::Share> RangePlan::take() {
    ByteRange range;
    if (!free_.empty()) {
        const auto lengthOf = [](const auto& entry) { return entry.second.length(); };
        const auto longest = std::ranges::max_element(free_, {}, lengthOf);
        range = longest->second;
        free_.erase(longest);
    } else {
        const auto restOf = [](const auto& entry) { return entry.second.rest.length(); };
        const auto longest = std::ranges::max_element(taken_, {}, restOf);
        if (longest == taken_.end() || longest->second.rest.end == unknownEnd) return std::nullopt;
        ByteRange& whole = longest->second.rest;
        if (whole.length() < 2 * smallestShare) return std::nullopt;
        const ByteCount middle = (whole.first + whole.length() / 2) / alignment * alignment;
        range = {middle, std::exchange(whole.end, middle)};
    }
    taken_[++last_] = {.rest = range, .asked = range.end};
    return Share{last_, range};
}

ByteRange RangePlan::rest(Number number) const {
    const auto found = taken_.find(number);
    return found == taken_.end() ? ByteRange() : found->second.rest;
}

void RangePlan::advance(Number number, ByteCount count) {
    taken_.at(number).rest.first += count;
}

void RangePlan::giveBack(Number number) {
    const auto given = taken_.extract(number);
    if (given.empty()) return;
    addFree(given.mapped().rest);
    lengthenTaken();
}

// Connections go on over what nobody brings any more, as far as they were asked for it.
void RangePlan::lengthenTaken() {
    for (Taken& taken : taken_ | std::views::values) {
        const auto behind = free_.find(taken.rest.end);
        if (behind == free_.end() || taken.rest.length() <= 0 || taken.asked <= taken.rest.end) continue;
        ByteRange left = behind->second;
        free_.erase(behind);
        taken.rest.end = left.first = std::min(left.end, taken.asked);
        addFree(left);
    }
}

// Together with what is free on either side of it.
void RangePlan::addFree(ByteRange range) {
    if (range.length() <= 0) return;
    const auto after = free_.find(range.end);
    if (after != free_.end()) {
        range.end = after->second.end;
        free_.erase(after);
    }
    const auto before = free_.lower_bound(range.first);
    if (before != free_.begin() && std::prev(before)->second.end == range.first) {
        std::prev(before)->second.end = range.end;
        return;
    }
    free_.emplace(range.first, range);
}

// What reached up to the end of the file still does.
void RangePlan::setLength(ByteCount length) {
    const auto fit = [&](ByteRange& range) {
        const ByteCount end = range.end >= length_ ? length : std::min(range.end, length);
        range.end = std::max(range.first, end);
    };
    for (Taken& taken : taken_ | std::views::values) fit(taken.rest);
    for (ByteRange& range : free_ | std::views::values) fit(range);
    std::erase_if(free_, [](const auto& entry) { return entry.second.length() <= 0; });
    length_ = length;
}

bool RangePlan::isDone() const {
    return free_.empty() && !isAnyUnderWay();
}

bool RangePlan::isAnyUnderWay() const {
    return std::ranges::any_of(taken_ | std::views::values, [](const Taken& taken) { return taken.rest.length() > 0; });
}

}  // namespace tovri
