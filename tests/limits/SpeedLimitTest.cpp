// What transfers get of a limit, in virtual time.
#include <memory>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "limits/SpeedLimit.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

// Bytes that come at a pace of their own, or at once, and move as its share lets them.
class Transfer {
public:
    static constexpr ByteCount piece = 16 * 1024;

    Transfer(VirtualLoop& loop, SpeedLimit& limit, std::optional<ByteCount> pace = std::nullopt)
        : loop_(loop), share_(limit.join()) {
        if (pace) {
            come(*pace);
        } else {
            waiting_ = ByteCount{1} << 40;
            move();
        }
    }

    [[nodiscard]] ByteCount moved() const { return moved_; }

private:
    void come(ByteCount pace) {
        constexpr auto step = 20ms;
        waiting_ += pace * step / 1s;
        if (!isWaitingForShare_) move();
        coming_ = loop_.schedule(step, [this, pace] { come(pace); });
    }

    void move() {
        isWaitingForShare_ = false;
        while (waiting_ > 0) {
            const ByteCount wanted = std::min(piece, waiting_);
            const ByteCount given = share_->take(wanted);
            moved_ += given;
            waiting_ -= given;
            if (given == wanted) continue;
            isWaitingForShare_ = true;
            share_->whenReady([this] { next_ = loop_.schedule(1ms, [this] { move(); }); });
            return;
        }
    }

    VirtualLoop& loop_;
    std::shared_ptr<ByteAllowance> share_;
    ByteCount waiting_ = 0;
    ByteCount moved_ = 0;
    bool isWaitingForShare_ = false;
    Subscription next_;
    Subscription coming_;
};

class SpeedLimitTest : public testing::Test {
protected:
    Transfer& begin(std::optional<ByteCount> pace = std::nullopt) {
        return *transfers_.emplace_back(std::make_unique<Transfer>(loop_, limit_, pace));
    }

    [[nodiscard]] ByteCount moved() const {
        return std::accumulate(transfers_.begin(), transfers_.end(), ByteCount{0},
                               [](ByteCount sum, const auto& each) { return sum + each->moved(); });
    }

    [[nodiscard]] ByteCount movedIn(MainLoop::Duration time) {
        const ByteCount before = moved();
        loop_.advance(time);
        return moved() - before;
    }

    VirtualLoop loop_;
    SpeedLimit limit_{loop_};
    std::vector<std::unique_ptr<Transfer>> transfers_;
};

void expectNear(ByteCount actual, ByteCount expected, double part) {
    EXPECT_NEAR(static_cast<double>(actual), static_cast<double>(expected), static_cast<double>(expected) * part);
}

TEST_F(SpeedLimitTest, isKeptTogetherAndFairlyWhateverItIs) {
    for (const ByteCount rate : {500, 10'000, 5'000'000, 400'000'000}) {
        SCOPED_TRACE(rate);
        transfers_.clear();
        limit_.set(BytesPerSecond{rate});
        for (int i = 0; i < 3; ++i) begin();
        for (int second = 0; second < 20; ++second) expectNear(movedIn(1s), rate, 0.1);
        expectNear(moved(), 20 * rate, 0.01);
        for (const auto& each : transfers_) expectNear(each->moved(), 20 * rate / 3, 0.02);
    }
}

TEST_F(SpeedLimitTest, isSmoothWithinASecond) {
    limit_.set(BytesPerSecond{5'000'000});
    for (int i = 0; i < 4; ++i) begin();
    loop_.advance(1s);
    for (int i = 0; i < 40; ++i) expectNear(movedIn(100ms), 500'000, 0.5);
}

TEST_F(SpeedLimitTest, leavesToTheOthersWhatASlowOneCannotUse) {
    limit_.set(BytesPerSecond{5'000'000});
    Transfer& slow = begin(300'000);
    Transfer& silent = begin(0);
    Transfer& one = begin();
    Transfer& other = begin();
    loop_.advance(10s);
    expectNear(slow.moved(), 3'000'000, 0.02);
    EXPECT_EQ(silent.moved(), 0);
    expectNear(moved(), 50'000'000, 0.02);
    expectNear(one.moved(), other.moved(), 0.02);
}

TEST_F(SpeedLimitTest, changesUnderWay) {
    limit_.set(BytesPerSecond{5'000'000});
    begin();
    loop_.advance(5s);
    limit_.set(BytesPerSecond{1'000'000});
    expectNear(movedIn(1s), 1'000'000, 0.1);
    begin();
    expectNear(movedIn(10s), 10'000'000, 0.02);
    const ByteCount late = transfers_.back()->moved();
    expectNear(late, 5'000'000, 0.02);
    transfers_.erase(transfers_.begin());
    expectNear(movedIn(10s), 10'000'000, 0.02);
}

// Less than the limit may come for long; that is no reason to be faster afterwards.
TEST_F(SpeedLimitTest, savesNothingUp) {
    limit_.set(BytesPerSecond{1'000'000});
    begin(10'000);
    loop_.advance(60s);
    begin();
    EXPECT_LT(movedIn(1s), 1'300'000);
}

TEST_F(SpeedLimitTest, letsAllGoOnAtOnceWithoutIt) {
    limit_.set(BytesPerSecond{1});
    const auto share = limit_.join();
    EXPECT_EQ(share->take(100), 0);
    bool isReady = false;
    share->whenReady([&] { isReady = true; });
    loop_.advance(10ms);
    EXPECT_FALSE(isReady);
    limit_.set(std::nullopt);
    EXPECT_TRUE(isReady);
    EXPECT_EQ(share->take(100), 100);
    loop_.runUntilIdle();
    EXPECT_TRUE(loop_.isIdle());
}

TEST_F(SpeedLimitTest, wakesTheMachineOnlyWhileSomethingMoves) {
    limit_.set(BytesPerSecond{1000});
    EXPECT_TRUE(loop_.isIdle());
    begin();
    loop_.advance(1s);
    transfers_.clear();
    loop_.advance(1s);
    EXPECT_TRUE(loop_.isIdle());
}

TEST(SpeedLimitsShare, mayOutliveIt) {
    VirtualLoop loop;
    auto limit = std::make_unique<SpeedLimit>(loop);
    limit->set(BytesPerSecond{1});
    const auto share = limit->join();
    bool isReady = false;
    EXPECT_EQ(share->take(5), 0);
    share->whenReady([&] { isReady = true; });
    limit.reset();
    EXPECT_TRUE(isReady);
    EXPECT_EQ(share->take(5), 5);
}

}  // namespace
}  // namespace tovri::test
