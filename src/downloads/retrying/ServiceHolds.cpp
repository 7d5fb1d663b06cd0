#include "downloads/retrying/ServiceHolds.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace tovri {
namespace {

constexpr std::chrono::seconds pauseWithoutTime{60};

}  // namespace

ServiceHolds::ServiceHolds(MainLoop& loop, const WallClock& clock, DownloadList& list, std::function<void()> released)
    : loop_(loop),
      clock_(clock),
      list_(list),
      released_(std::move(released)),
      following_(list.onChange([this](const QueueChange& change) { follow(change); })) {}

void ServiceHolds::follow(const QueueChange& change) {
    if (!change.item || change.item->status != DownloadStatus::queued) return;
    const HoldPointer hold = change.item->hold;
    if (!hold || !hold->isForTime()) return;
    MainLoop::Duration delay = pauseWithoutTime;
    if (hold->until) delay = std::max<MainLoop::Duration>(*hold->until - clock_.now(), {});
    waits_[hold->what].timer = loop_.schedule(delay, [this, what = hold->what] { releaseNext(what); });
}

// The one below the last one that tried, so that one that fails by itself does not keep the others waiting.
void ServiceHolds::releaseNext(std::string what) {
    const auto found = waits_.find(what);
    if (found == waits_.end()) return;
    const auto items = list_.heldFor(what, [](const Download&) { return true; });
    if (items.empty()) {
        waits_.erase(found);
        return;
    }
    const auto isNext = [&](const DownloadPointer& item) { return item->position > found->second.lastReleased; };
    const auto next = std::ranges::find_if(items, isNext);
    const DownloadPointer item = next == items.end() ? items.front() : *next;
    if (items.size() == 1) {
        waits_.erase(found);
    } else {
        found->second.lastReleased = item->position;
        found->second.timer = loop_.schedule(pauseWithoutTime, [this, what] { releaseNext(what); });
    }
    list_.release(*item);
    released_();
}

bool ServiceHolds::isAnyHeld() const {
    return std::ranges::any_of(waits_, [this](const auto& wait) {
        const ConstDownloadPointer first = list_.firstHeldFor(wait.first);
        return first && first->hold->reason == Hold::Reason::service;
    });
}

std::vector<DownloadPointer> ServiceHolds::held() const {
    std::vector<DownloadPointer> items;
    for (const auto& [what, wait] : waits_)
        std::ranges::move(list_.heldFor(what, [](const Download&) { return true; }), std::back_inserter(items));
    return items;
}

void ServiceHolds::hostOpened(const std::string& host) {
    const std::string what = Hold::host(host);
    if (waits_.erase(what) == 0) return;
    for (const DownloadPointer& item : list_.heldFor(what, [](const Download&) { return true; })) list_.release(*item);
    released_();
}

}  // namespace tovri
