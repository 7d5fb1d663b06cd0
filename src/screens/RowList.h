#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <unordered_set>
#include <utility>
#include <vector>

#include "screens/ScreenChange.h"

namespace tovri {

// The rows of a list that is replaced as a whole now and then, and that a view follows row by row: it hears which rows
// went, came and changed, and at each of these steps the list is as told so far. Too many steps, rows that changed
// places, or a list without one of the old rows are one reset.
//
// Traits say what a row is: `key(row)`, hashable, of its own in the list, and `isSame(row, row)`, whether two rows of
// one key look alike.
template <class Row, class Traits>
class RowList {
public:
    [[nodiscard]] const std::vector<Row>& rows() const { return rows_; }

    // Tells the steps to `tell(ScreenChange)`, rows counted from `offset`. Whoever is told may replace the rows again.
    template <class Tell>
    void replace(std::vector<Row> rows, const Tell& tell, std::size_t offset = 0) {
        const std::uint64_t mine = ++replacements_;
        const std::optional<std::vector<ScreenChange>> steps = stepsTo(rows);
        if (!steps) {
            rows_ = std::move(rows);
            tell(ScreenChange{ScreenChange::Kind::reset});
            return;
        }
        for (ScreenChange step : *steps) {
            apply(step, rows);
            step.first += offset;
            tell(step);
            if (replacements_ != mine) return;  // the newer one went on from here to its own end
        }
        tellDifferences(exchange(std::move(rows)), tell, offset);
    }

private:
    using Key = decltype(Traits::key(std::declval<const Row&>()));
    using Keys = std::unordered_set<Key>;
    static constexpr std::size_t mostSteps = 64;

    // The part of the rows in which an old and a new list differ.
    struct Difference {
        std::size_t begin;
        std::span<const Row> before;
        std::span<const Row> after;
    };

    [[nodiscard]] Difference differenceTo(const std::vector<Row>& rows) const {
        const auto hasSameKey = [](const Row& left, const Row& right) {
            return Traits::key(left) == Traits::key(right);
        };
        const auto begin = static_cast<std::size_t>(std::ranges::mismatch(rows_, rows, hasSameKey).in1 - rows_.begin());
        const std::span before = std::span(rows_).subspan(begin);
        const std::span after = std::span(rows).subspan(begin);
        const auto rest = std::mismatch(before.rbegin(), before.rend(), after.rbegin(), after.rend(), hasSameKey);
        const auto end = static_cast<std::size_t>(rest.first - before.rbegin());
        return {begin, before.first(before.size() - end), after.first(after.size() - end)};
    }

    // Removals from the end on, then insertions from the beginning on, so that each is right when its turn comes.
    [[nodiscard]] std::optional<std::vector<ScreenChange>> stepsTo(const std::vector<Row>& rows) const {
        const Difference difference = differenceTo(rows);
        const auto [begin, before, after] = difference;
        const Keys oldKeys = keysOf(before);
        const Keys newKeys = keysOf(after);
        if (oldKeys.size() != before.size() || newKeys.size() != after.size()) return std::nullopt;
        if (!keepsOrder(before, after, oldKeys, newKeys)) return std::nullopt;
        std::vector<ScreenChange> steps = runsOutside(newKeys, before, begin, ScreenChange::Kind::removed);
        std::ranges::reverse(steps);
        std::ranges::copy(runsOutside(oldKeys, after, begin, ScreenChange::Kind::inserted), std::back_inserter(steps));
        // Another list altogether, as when another folder is opened: nobody follows that row by row.
        const bool nothingStays = steps.size() == 2 && steps[0].count == rows_.size() && steps[1].count == rows.size();
        if (nothingStays || steps.size() > mostSteps) return std::nullopt;
        return steps;
    }

    static Keys keysOf(std::span<const Row> rows) {
        Keys keys;
        keys.reserve(rows.size());
        for (const Row& row : rows) keys.insert(Traits::key(row));
        return keys;
    }

    // Whether the rows that stay stand in the same order before and after.
    static bool keepsOrder(std::span<const Row> before, std::span<const Row> after, const Keys& oldKeys,
                           const Keys& newKeys) {
        auto next = before.begin();
        for (const Row& row : after) {
            if (!oldKeys.contains(Traits::key(row))) continue;
            next = std::find_if(next, before.end(), [&](const Row& old) { return newKeys.contains(Traits::key(old)); });
            if (Traits::key(*next) != Traits::key(row)) return false;
            ++next;
        }
        return true;
    }

    // The runs of rows with other keys, counted from `begin`.
    static std::vector<ScreenChange> runsOutside(const Keys& keys, std::span<const Row> rows, std::size_t begin,
                                                 ScreenChange::Kind kind) {
        std::vector<ScreenChange> runs;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (keys.contains(Traits::key(rows[i]))) continue;
            if (runs.empty() || runs.back().first + runs.back().count != begin + i)
                runs.push_back({kind, begin + i, 0});
            ++runs.back().count;
        }
        return runs;
    }

    void apply(const ScreenChange& step, const std::vector<Row>& rows) {
        const auto at = [](auto& list, std::size_t index) { return list.begin() + static_cast<std::ptrdiff_t>(index); };
        const std::size_t end = step.first + step.count;
        if (step.kind == ScreenChange::Kind::removed)
            rows_.erase(at(rows_, step.first), at(rows_, end));
        else
            rows_.insert(at(rows_, step.first), at(rows, step.first), at(rows, end));
    }

    // Puts the rows in place of those with the same keys; which of them look different is returned.
    std::vector<ScreenChange> exchange(std::vector<Row> rows) {
        std::vector<ScreenChange> runs;
        for (std::size_t i = 0; i < rows.size(); ++i) {
            if (Traits::isSame(rows_[i], rows[i])) continue;
            if (runs.empty() || runs.back().first + runs.back().count != i)
                runs.push_back({ScreenChange::Kind::changed, i, 0});
            ++runs.back().count;
        }
        rows_ = std::move(rows);
        return runs;
    }

    template <class Tell>
    void tellDifferences(std::vector<ScreenChange> runs, const Tell& tell, std::size_t offset) {
        const std::uint64_t mine = replacements_;
        for (ScreenChange& run : runs) {
            run.first += offset;
            tell(run);
            if (replacements_ != mine) return;
        }
    }

    std::vector<Row> rows_;
    std::uint64_t replacements_ = 0;
};

}  // namespace tovri
