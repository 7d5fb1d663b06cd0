#include "support/VirtualVolumeQueues.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace tovri::test {

void VirtualVolumeQueues::run(const std::string& lane, Work work) {
    if (isOver_) return;
    Lane& given = lanes_[lane];
    given.waiting.push_back(std::move(work));
    arrange(lane, given);
}

bool VirtualVolumeQueues::waitFor(const std::string& lane, std::chrono::milliseconds /*limit*/) {
    while (lanes_.contains(lane)) {
        if (hanging_.contains(lane)) return false;
        workOn(lane);
    }
    return true;
}

bool VirtualVolumeQueues::finish(std::chrono::milliseconds /*limit*/) {
    while (true) {
        std::vector<std::string> ready;
        for (const auto& [name, lane] : lanes_)
            if (!hanging_.contains(name)) ready.push_back(name);
        if (ready.empty()) break;
        workOn(ready[numbers_() % ready.size()]);
    }
    isOver_ = !lanes_.empty();
    const auto dropped = std::exchange(lanes_, {});
    return dropped.empty();
}

void VirtualVolumeQueues::hang(const std::string& lane) {
    hanging_.insert(lane);
    if (const auto found = lanes_.find(lane); found != lanes_.end()) found->second.next.reset();
}

void VirtualVolumeQueues::goOn(const std::string& lane) {
    hanging_.erase(lane);
    if (const auto found = lanes_.find(lane); found != lanes_.end()) arrange(lane, found->second);
}

void VirtualVolumeQueues::arrange(const std::string& name, Lane& lane) {
    if (lane.next.isActive() || hanging_.contains(name)) return;
    const auto special = longestDelays.find(name);
    const MainLoop::Duration longest = special == longestDelays.end() ? longestDelay : special->second;
    const auto choices = static_cast<std::uint64_t>(longest.count()) + 1;
    const MainLoop::Duration delay(static_cast<MainLoop::Duration::rep>(numbers_() % choices));
    lane.next = loop_.schedule(delay, [this, name] { workOn(name); });
}

void VirtualVolumeQueues::workOn(const std::string& name) {
    Lane& lane = lanes_.at(name);
    lane.next = Subscription([] {});  // busy: what is given meanwhile waits its turn
    std::exchange(lane.waiting.front(), nullptr)();
    lane.waiting.pop_front();
    lane.next.reset();
    if (lane.waiting.empty()) {
        lanes_.erase(name);
    } else {
        arrange(name, lane);
    }
}

}  // namespace tovri::test
