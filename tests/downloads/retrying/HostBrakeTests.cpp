#include <gtest/gtest.h>

#include "downloads/retrying/HostBrake.h"
#include "support/SeededRandom.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class HostBrakeTest : public testing::Test {
public:
    // Asks, and is answered so; false where it may not ask.
    bool ask(const UUID& who, const std::optional<Fault>& answer) {
        auto pass = brake.enter(who);
        if (pass && answer) (void)pass->failed(*answer);
        if (pass && !answer) pass->succeeded();
        return pass.has_value();
    }

    VirtualLoop loop;
    SeededRandom random;
    HostBrake brake{loop, random};
    const UUID a = random.makeUUID();
    const UUID b = random.makeUUID();
    const Fault away{.blame = Fault::Blame::host, .reason = "could not connect"};
    const Fault busy{.blame = Fault::Blame::perhapsHost, .reason = "HTTP error 503", .hasAnswered = true};
};

// As real time does: it passes between two looks at the clock.
class RestlessLoop final : public MainLoop {
public:
    [[nodiscard]] TimePoint now() const override { return now_ += 1us; }

    void post(Job job) override { loop_.post(std::move(job)); }

    Subscription schedule(Duration delay, Job job) override { return loop_.schedule(delay, std::move(job)); }

private:
    mutable TimePoint now_{24h};
    VirtualLoop loop_;
};

TEST(HostBrakeInRealTime, holdsNothingBackWhileAllIsWell) {
    RestlessLoop loop;
    SeededRandom random;
    HostBrake brake(loop, random);
    auto pass = brake.enter(random.makeUUID());
    ASSERT_TRUE(pass);
    pass->succeeded();
    EXPECT_TRUE(brake.enter(random.makeUUID()));
}

TEST_F(HostBrakeTest, letsOneTryForAllAndAllGoAfterAnAnswer) {
    int opened = 0;
    const Subscription opening = brake.onOpening([&] { ++opened; });
    EXPECT_TRUE(ask(a, away));
    EXPECT_FALSE(ask(b, std::nullopt));
    loop.advance(1300ms);  // a second, more or less
    {
        const auto probe = brake.enter(a);
        ASSERT_TRUE(probe);
        EXPECT_FALSE(brake.enter(b));  // one is enough
        EXPECT_FALSE(brake.next());
    }
    EXPECT_TRUE(ask(b, away));  // the first gave up
    loop.advance(1300ms);
    EXPECT_FALSE(ask(a, std::nullopt)) << "twice as long";
    loop.advance(1300ms);
    EXPECT_EQ(opened, 0);
    EXPECT_TRUE(ask(a, std::nullopt));
    loop.runUntilIdle();
    EXPECT_EQ(opened, 1);
    EXPECT_TRUE(ask(b, std::nullopt));
}

TEST_F(HostBrakeTest, waitsNoLongerThanAMinuteUnlessItIsTold) {
    int tries = 0;
    for (int second = 0; second < 3600; ++second) {
        if (ask(a, away)) ++tries;
        loop.advance(1s);
    }
    EXPECT_GE(tries, 50);
    EXPECT_LE(tries, 80);
    loop.advance(2min);
    Fault told = away;
    told.comeBack = 30min;
    EXPECT_TRUE(ask(a, told));
    loop.advance(30min - 1s);
    EXPECT_FALSE(ask(b, std::nullopt));
    loop.advance(1s);
    EXPECT_TRUE(ask(b, std::nullopt));
}

TEST_F(HostBrakeTest, blamesTheHostForWhatTwoItemsMeet) {
    EXPECT_TRUE(ask(a, busy));
    EXPECT_TRUE(ask(a, busy)) << "only its own";
    EXPECT_TRUE(ask(b, std::nullopt));
    EXPECT_TRUE(ask(b, busy)) << "the host has answered in between";
    EXPECT_TRUE(ask(a, busy));
    EXPECT_TRUE(brake.isClosed());
    EXPECT_EQ(brake.reason(), "HTTP error 503");
    loop.advance(2s);
    const Fault own{.reason = "HTTP error 500", .hasAnswered = true};
    EXPECT_TRUE(ask(a, own));
    EXPECT_FALSE(brake.isClosed()) << "it answers";
}

// A host that takes ten requests in a second, asked as fast as the brake lets: few are refused, most of what it takes
// is used, and it is used again when it takes more.
TEST_F(HostBrakeTest, keepsToThePaceThatTheHostTakes) {
    const Fault tooMany{
        .blame = Fault::Blame::host, .reason = "HTTP error 429", .hasAnswered = true, .isRefusedForPace = true};
    int limit = 10;
    int sent = 0;
    int refused = 0;
    for (int second = 0; second < 600; ++second) {
        if (second == 300) limit = 1000;
        if (second == 300) EXPECT_LE(refused * 20, sent);
        if (second == 300) EXPECT_GE(sent, 300 * 7);
        int taken = 0;
        for (int tick = 0; tick < 100; ++tick) {
            if (taken < limit) {
                if (ask(a, std::nullopt)) ++taken, ++sent;
            } else if (ask(a, tooMany)) {
                ++refused, ++sent;
            }
            loop.advance(10ms);
        }
    }
    const int before = refused;
    EXPECT_LE(before * 20, sent);
    EXPECT_GE(sent, 300 * 7 + 300 * 25);
}

}  // namespace
}  // namespace tovri::test
