#include "downloads/list/ItemOrder.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tovri {
namespace {

constexpr std::size_t longestRun = 256;

}  // namespace

const ConstDownloadPointer& ItemOrder::operator[](std::size_t index) const {
    auto run = runs_.begin();
    for (; index >= run->size(); ++run) index -= run->size();
    return (*run)[index].item;
}

ItemOrder::Iterator ItemOrder::at(std::int64_t position) const {
    const auto run =
        std::ranges::lower_bound(runs_, position, {}, [](const auto& each) { return each.back().position; });
    if (run == runs_.end()) return end();
    const auto found = std::ranges::lower_bound(*run, position, {}, &Entry::position);
    if (found->position != position) return end();
    return {&*run, static_cast<std::size_t>(found - run->begin())};
}

void ItemOrder::pushFront(DownloadPointer item) {
    item->position = empty() ? 0 : front()->position - 1;
    if (runs_.empty() || runs_.front().size() == longestRun) runs_.emplace(runs_.begin());
    runs_.front().insert(runs_.front().begin(), {item->position, item});
    ++size_;
}

void ItemOrder::pushBack(DownloadPointer item) {
    item->position = empty() ? 0 : back()->position + 1;
    if (runs_.empty() || runs_.back().size() == longestRun) runs_.emplace_back();
    runs_.back().push_back({item->position, std::move(item)});
    ++size_;
}

void ItemOrder::putBack(DownloadPointer item) {
    if (at(item->position) != end()) return pushFront(std::move(item));
    if (runs_.empty()) runs_.emplace_back();
    auto run = std::ranges::upper_bound(runs_, item->position, {}, [](const auto& each) {
        return each.empty() ? std::numeric_limits<std::int64_t>::min() : each.front().position;
    });
    if (run != runs_.begin()) --run;
    if (run->size() == longestRun) {
        const auto middle = run->begin() + longestRun / 2;
        Run rest(std::move_iterator(middle), std::move_iterator(run->end()));
        run->erase(middle, run->end());
        run = std::prev(runs_.insert(std::next(run), std::move(rest)));
        if (std::next(run)->front().position < item->position) ++run;
    }
    const auto place = std::ranges::lower_bound(*run, item->position, {}, &Entry::position);
    run->insert(place, {item->position, item});
    ++size_;
}

void ItemOrder::swap(Iterator a, Iterator b) {
    Entry& entryOfA = runOf(a)[a.index_];
    Entry& entryOfB = runOf(b)[b.index_];
    std::swap(entryOfA.item, entryOfB.item);
    changeable(entryOfA.item)->position = entryOfA.position;
    changeable(entryOfB.item)->position = entryOfB.position;
}

DownloadPointer ItemOrder::erase(Iterator place) {
    Run& run = runOf(place);
    DownloadPointer taken = changeable(std::move(run[place.index_].item));
    run.erase(run.begin() + static_cast<std::ptrdiff_t>(place.index_));
    if (run.empty()) runs_.erase(runs_.begin() + (&run - runs_.data()));
    --size_;
    return taken;
}

}  // namespace tovri
