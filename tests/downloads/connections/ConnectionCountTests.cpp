#include <cmath>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "downloads/connections/ConnectionBudget.h"
#include "downloads/connections/ConnectionCount.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

constexpr double mebibyte = 1 << 20;

// A line that brings so many bytes in a second over so many connections, measured twenty times a second.
class Line {
public:
    explicit Line(std::function<double(int connections)> speed) : speed_(std::move(speed)) {}

    // How many connections are used after this time.
    int after(ConnectionCount::Duration time) {
        for (const auto end = now_ + time; now_ < end; now_ += 50ms) {
            received_ += speed_(count.wanted()) * 0.05;
            count.measure(now_, count.wanted(), static_cast<ByteCount>(received_));
        }
        return count.wanted();
    }

    [[nodiscard]] ConnectionCount::TimePoint now() const { return now_; }

    ConnectionCount count;

private:
    std::function<double(int)> speed_;
    ConnectionCount::TimePoint now_{1h};
    double received_ = 0;
};

TEST(ConnectionCount, goesUpAsLongAsItHelps) {
    Line eachSlow([](int connections) { return 8 * mebibyte * connections; });
    EXPECT_EQ(eachSlow.after(450ms), 1);
    EXPECT_EQ(eachSlow.after(200ms), 2);
    EXPECT_EQ(eachSlow.after(1100ms), 6);
    EXPECT_EQ(eachSlow.after(1min), 6);

    Line fullWithThree([](int connections) { return mebibyte * std::min(connections, 3); });
    EXPECT_EQ(fullWithThree.after(2s), 6);  // from two to three is enough for four, and six are tried
    EXPECT_EQ(fullWithThree.after(2s), 4);

    Line quick([](int connections) { return 300 * mebibyte * connections; });
    EXPECT_EQ(quick.after(1min), 1);  // something else holds it up
}

TEST(ConnectionCount, takesBackAStepThatBroughtNothingAndTriesItLater) {
    double bonus = 1;
    Line line([&](int connections) { return 50 * mebibyte * (connections > 1 ? bonus : 1); });
    EXPECT_EQ(line.after(1s), 2);
    EXPECT_EQ(line.after(1500ms), 1);
    EXPECT_EQ(line.after(25s), 1);
    bonus = 1.3;  // enough for the first step, not for the next
    EXPECT_EQ(line.after(10s), 2);
}

TEST(ConnectionCount, judgesByWindowsInWhichAllOfThemBring) {
    ConnectionCount count;
    ConnectionCount::TimePoint now{1h};
    for (int i = 0; i < 12; ++i) count.measure(now += 50ms, 1, i * 1000);
    ASSERT_EQ(count.wanted(), 2);
    for (int i = 0; i < 100; ++i) count.measure(now += 50ms, 1, 0);  // the second has not brought anything yet
    EXPECT_EQ(count.wanted(), 2);
}

// What comes in bursts looks like nothing for a moment.
TEST(ConnectionCount, isPatientWithBursts) {
    double sum = 0;
    Line line([&](int connections) {
        sum += connections;
        if (sum < 12) return 0.0;
        return std::exchange(sum, 0) * mebibyte;
    });
    EXPECT_GE(line.after(8s), 4);
}

TEST(ConnectionCount, keepsWhatTheServerAllows) {
    Line line([](int connections) { return mebibyte * connections; });
    ASSERT_EQ(line.after(1200ms), 4);
    line.count.noteRefusal(line.now());
    EXPECT_EQ(line.after(5min), 2);
    line.count.noteBreak(line.now());
    EXPECT_EQ(line.after(1s), 1);
    EXPECT_EQ(line.after(1min), 2);
}

// What each of three items is granted, as "1 2 3".
class Budget : public testing::Test {
public:
    using Share = std::unique_ptr<ConnectionBudget::Share>;

    Share join(const char* host = "https://one") {
        return budget.join(host, [this] { ++told; });
    }

    static std::string granted(std::initializer_list<const Share*> shares) {
        std::string text;
        for (const Share* share : shares) text += std::to_string((*share)->granted());
        return text;
    }

    ConnectionBudget budget;
    int told = 0;
};

TEST_F(Budget, dividesAHostsConnections) {
    Share a = join();
    a->want(6);
    EXPECT_EQ(granted({&a}), "6");
    EXPECT_EQ(told, 0);
    Share b = join();
    EXPECT_EQ(granted({&a, &b}), "51");  // it gives way at once
    EXPECT_EQ(told, 1);
    b->want(6);
    EXPECT_EQ(granted({&a, &b}), "33");
    EXPECT_EQ(told, 2);
    Share elsewhere = join("https://two");
    elsewhere->want(4);
    EXPECT_EQ(granted({&a, &b, &elsewhere}), "334");
    std::vector<Share> others;
    for (int i = 0; i < 5; ++i) others.push_back(join());
    EXPECT_EQ(granted({&a, &b, &others.back()}), "111");  // more items than connections
    others.clear();
    b.reset();
    EXPECT_EQ(granted({&a}), "6");
}

TEST_F(Budget, mayBeChangedByWhoeverIsTold) {
    Share a = join();
    Share c;
    Share b = budget.join("https://one", [&] { c.reset(); });
    c = join();
    b->want(3);
    c->want(3);
    ASSERT_EQ(granted({&a, &b, &c}), "132");
    a->want(2);  // takes one of b, which ends c for it
    EXPECT_FALSE(c);
    EXPECT_EQ(granted({&a, &b}), "23");
}

}  // namespace
}  // namespace tovri::test
