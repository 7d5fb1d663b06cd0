#pragma once

#include <functional>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/BackgroundQueue.h"
#include "platform/MainLoop.h"
#include "support/ComesTrue.h"

namespace tovri::test {

// A loop that runs until a condition holds, with a background queue on it.
class LoopWorld {
public:
    virtual ~LoopWorld() = default;

    [[nodiscard]] virtual MainLoop& loop() = 0;
    [[nodiscard]] virtual BackgroundQueue& queue() = 0;
    virtual void runUntil(const std::function<bool()>& condition) = 0;
};

class MainLoopContract : public testing::TestWithParam<std::function<std::unique_ptr<LoopWorld>()>> {
public:
    // Runs the loop until the condition holds. Fails where that takes too long.
    void runUntil(const std::function<bool()>& condition) {
        bool isLate = false;
        const Subscription limit = loop.schedule(patience, [&] { isLate = true; });
        world->runUntil([&] { return isLate || condition(); });
        ASSERT_FALSE(isLate);
    }

    std::unique_ptr<LoopWorld> world = GetParam()();
    MainLoop& loop = world->loop();
    std::vector<int> told;
};

using std::chrono::milliseconds;
using testing::ElementsAre;

TEST_P(MainLoopContract, runsWhatIsPostedInOrderAndTimersByTime) {
    const Subscription last = loop.schedule(std::chrono::hours(1), [&] { told.push_back(5); });
    loop.post([&] {
        told.push_back(1);
        loop.post([&] { told.push_back(2); });
    });
    runUntil([&] { return told.size() == 2; });
    const auto start = loop.now();
    const Subscription soon = loop.schedule(milliseconds(5), [&] { told.push_back(3); });
    const Subscription late = loop.schedule(milliseconds(20), [&] { told.push_back(4); });
    runUntil([&] { return told.size() == 4; });
    EXPECT_THAT(told, ElementsAre(1, 2, 3, 4));
    EXPECT_GE(loop.now() - start, milliseconds(20));
}

TEST_P(MainLoopContract, timersThatAreTakenBackNeverRun) {
    Subscription other;
    const Subscription first = loop.schedule(milliseconds(1), [&] {
        told.push_back(1);
        other.reset();
    });
    other = loop.schedule(milliseconds(1), [&] { told.push_back(2); });
    {
        const Subscription dropped = loop.schedule(milliseconds(1), [&] { told.push_back(3); });
    }
    const Subscription last = loop.schedule(milliseconds(2), [&] { told.push_back(4); });
    runUntil([&] { return told.size() > 1; });
    EXPECT_THAT(told, ElementsAre(1, 4));
}

TEST_P(MainLoopContract, jobsMayEndTheirOwnSubscriptionAndStartAnother) {
    struct Ticker {
        MainLoop& loop;
        std::vector<int>& told;
        Subscription next;

        void tick() {
            next = loop.schedule(milliseconds::zero(), [this, kept = std::make_unique<int>(7)] {
                next.reset();
                told.push_back(*kept);
                if (told.size() < 3) tick();
            });
        }
    };

    Ticker ticker{loop, told, {}};
    ticker.tick();
    runUntil([&] { return told.size() == 3; });
    EXPECT_THAT(told, ElementsAre(7, 7, 7));
}

TEST_P(MainLoopContract, subscriptionsOutliveTheLoop) {
    Subscription timer = loop.schedule(milliseconds(1), [] {});
    Subscription work = world->queue().run([](const std::stop_token&) {}, [] {});
    world.reset();
    timer.reset();
    work.reset();
}

TEST_P(MainLoopContract, backgroundWorkIsReportedOnceItIsDone) {
    int result = 0;
    const Subscription work =
        world->queue().run([&](const std::stop_token&) { result = 5; }, [&] { told.push_back(result); });
    EXPECT_TRUE(told.empty());
    runUntil([&] { return !told.empty(); });
    EXPECT_THAT(told, ElementsAre(5));
}

TEST_P(MainLoopContract, backgroundWorkThatIsTakenBackIsNotReported) {
    std::vector<Subscription> works;
    for (int i = 0; i < 20; ++i)
        works.push_back(world->queue().run([](const std::stop_token&) {}, [&, i] { told.push_back(i); }));
    works.clear();
    // Taken back by the report of another, after its own work was done perhaps.
    Subscription second;
    const Subscription first = world->queue().run([](const std::stop_token&) {},
                                                  [&] {
                                                      told.push_back(100);
                                                      second.reset();
                                                  });
    runUntil([&] { return !told.empty(); });
    second = world->queue().run([](const std::stop_token&) {}, [&] { told.push_back(101); });
    second.reset();
    // By the time these have been reported, so would the others.
    for (int i = 0; i < 20; ++i)
        works.push_back(world->queue().run([](const std::stop_token&) {}, [&] { told.push_back(200); }));
    runUntil([&] { return told.size() > 20; });
    std::vector<int> expected(21, 200);
    expected.front() = 100;
    EXPECT_EQ(told, expected);
}

}  // namespace tovri::test
