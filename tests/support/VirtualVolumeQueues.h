#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>

#include "platform/VolumeQueues.h"
#include "support/VirtualLoop.h"

namespace tovri::test {

// Does each lane's work in its order, each piece in one go after a delay of up to `longestDelay`. The seed decides the
// delays, and so which lane is next. Keeps no lane waiting for another.
class VirtualVolumeQueues final : public VolumeQueues {
public:
    explicit VirtualVolumeQueues(VirtualLoop& loop, std::uint64_t seed = 1) : loop_(loop), numbers_(seed) {}

    void run(const std::string& lane, Work work) override;

    // Nothing but the work is done meanwhile, and no time passes.
    [[nodiscard]] bool waitFor(const std::string& lane, std::chrono::milliseconds limit) override;
    [[nodiscard]] bool finish(std::chrono::milliseconds limit) override;

    void limitWaits(std::chrono::milliseconds /*limit*/) override {}

    // No lane has work any more: the process that gave it has died.
    void drop() { lanes_.clear(); }

    // The work that the lane has, and gets, stands still until it goes on.
    void hang(const std::string& lane);
    void goOn(const std::string& lane);

    MainLoop::Duration longestDelay = std::chrono::milliseconds(3);
    std::map<std::string, MainLoop::Duration> longestDelays;  // of lanes that are otherwise

private:
    struct Lane {
        std::deque<Work> waiting;
        Subscription next;  // active while its first work is on its way
    };

    void arrange(const std::string& name, Lane& lane);
    void workOn(const std::string& name);

    VirtualLoop& loop_;
    std::mt19937_64 numbers_;
    std::map<std::string, Lane> lanes_;  // those that have work
    std::set<std::string> hanging_;
    bool isOver_ = false;
};

}  // namespace tovri::test
