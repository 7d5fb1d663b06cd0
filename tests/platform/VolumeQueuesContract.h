#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/VolumeQueues.h"
#include "support/ComesTrue.h"

namespace tovri::test {

// Queues whose lanes can be made to hang.
class LaneWorld {
public:
    virtual ~LaneWorld() = default;

    [[nodiscard]] virtual VolumeQueues& queues() = 0;
    virtual void hang(const std::string& lane) = 0;
    virtual void goOn(const std::string& lane) = 0;
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& condition) = 0;
};

class VolumeQueuesContract : public testing::TestWithParam<std::function<std::unique_ptr<LaneWorld>()>> {
public:
    void tell(std::string what) {
        const std::scoped_lock lock(mutex);
        told.push_back(std::move(what));
    }

    // What one lane told.
    std::vector<std::string> toldBy(char lane) {
        const std::scoped_lock lock(mutex);
        std::vector<std::string> found;
        for (const std::string& what : told)
            if (what.front() == lane) found.push_back(what);
        return found;
    }

    void add(char lane, const std::string& what) {
        queues.run({lane}, [this, lane, what] { tell(lane + what); });
    }

    std::mutex mutex;
    std::vector<std::string> told;
    std::unique_ptr<LaneWorld> world = GetParam()();
    VolumeQueues& queues = world->queues();
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_P(VolumeQueuesContract, eachLaneKeepsItsOrder) {
    constexpr int count = 200;
    for (int i = 0; i < count; ++i)
        for (const char lane : {'a', 'b', 'c'}) add(lane, std::to_string(i));
    queues.run("d", [this] {
        add('d', "1");  // given by work
        tell("d0");
    });
    ASSERT_TRUE(queues.finish(patience));
    for (const char lane : {'a', 'b', 'c'}) {
        const std::vector<std::string> order = toldBy(lane);
        ASSERT_EQ(order.size(), static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i) EXPECT_EQ(order[static_cast<std::size_t>(i)], lane + std::to_string(i));
    }
    EXPECT_THAT(toldBy('d'), ElementsAre("d0", "d1"));
    add('d', "2");  // may be given after all was finished
    ASSERT_TRUE(queues.finish(patience));
    EXPECT_EQ(toldBy('d').back(), "d2");
}

TEST_P(VolumeQueuesContract, aLaneThatHangsHoldsUpItselfAlone) {
    world->hang("a");
    for (const char lane : {'a', 'b'}) add(lane, "1");
    ASSERT_TRUE(world->runUntil([this] { return !toldBy('b').empty(); }));
    EXPECT_THAT(toldBy('a'), IsEmpty());
    world->goOn("a");
    ASSERT_TRUE(world->runUntil([this] { return !toldBy('a').empty(); }));
}

TEST_P(VolumeQueuesContract, oneLaneIsWaitedForByItself) {
    world->hang("a");
    add('a', "1");
    for (int i = 1; i <= 50; ++i) add('b', std::to_string(i));
    ASSERT_TRUE(queues.waitFor("b", patience));
    EXPECT_EQ(toldBy('b').size(), 50U);
    EXPECT_FALSE(queues.waitFor("a", std::chrono::milliseconds(1)));
    EXPECT_TRUE(queues.waitFor("unheard of", patience));
    world->goOn("a");
    ASSERT_TRUE(queues.waitFor("a", patience));
    EXPECT_THAT(toldBy('a'), ElementsAre("a1"));
}

TEST_P(VolumeQueuesContract, whenTheProcessEndsOneLimitHoldsForAllWaits) {
    constexpr std::chrono::hours never{1000};  // the test would not end
    world->hang("a");
    for (const char lane : {'a', 'b'}) add(lane, "1");
    ASSERT_TRUE(queues.waitFor("b", patience));
    queues.limitWaits(std::chrono::milliseconds(1));
    queues.limitWaits(never);
    EXPECT_FALSE(queues.waitFor("a", never));
    EXPECT_TRUE(queues.waitFor("b", never));
    EXPECT_FALSE(queues.finish(never));
}

TEST_P(VolumeQueuesContract, finishingLeavesAHungLaneAndDropsItsWork) {
    const auto held = std::make_shared<int>(1);
    world->hang("a");
    for (const char lane : {'a', 'b'}) queues.run({lane}, [this, lane, held] { tell(std::string{lane} + "1"); });
    ASSERT_TRUE(world->runUntil([&] { return held.use_count() == 2; }));  // only the work that waits still has it
    EXPECT_FALSE(queues.finish(std::chrono::milliseconds(1)));
    EXPECT_EQ(held.use_count(), 1);
    world->goOn("a");
    add('a', "2");
    add('b', "2");
    EXPECT_TRUE(queues.finish(patience));
    EXPECT_THAT(toldBy('a'), IsEmpty());
    EXPECT_THAT(toldBy('b'), ElementsAre("b1"));
}

}  // namespace tovri::test
