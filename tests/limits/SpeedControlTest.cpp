#include <gtest/gtest.h>

#include "limits/SpeedControl.h"
#include "support/FakeFolderAccess.h"
#include "support/MemoryStores.h"
#include "support/VirtualLoop.h"

namespace tovri::test {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

class SpeedControlTest : public testing::Test {
protected:
    SpeedControlTest() {
        clock_.offset = [](Timestamp) { return 2h; };
        clock_.set(monday_ + 8h);  // 10:00 on the wall
    }

    void setTimetable(const char* text) {
        preferences_.assign(preference::speedTimetable, SpeedTimetable::parse(text).value());
    }

    const Timestamp monday_ = sys_days(2026y / June / 1);
    VirtualLoop loop_;
    VirtualClock clock_{loop_};
    MemoryUserDefaults defaults_;
    FakeFolderAccess folderAccess_;
    Preferences preferences_{defaults_, folderAccess_, "/home/user"};
    SpeedLimit limit_{loop_};
    SpeedControl control_{loop_, clock_, preferences_, limit_};
    int changes_ = 0;
    Subscription following_ = control_.onChange([this] { ++changes_; });
};

TEST_F(SpeedControlTest, givesTheLimitWhatCountsNow) {
    EXPECT_EQ(limit_.rate(), std::nullopt);
    preferences_.assign(preference::speedLimit, BytesPerSecond{5'000'000});
    setTimetable("mon 12:00-18:00 1M; daily 22:00-06:00 hold");
    EXPECT_EQ(limit_.rate(), std::nullopt);
    EXPECT_EQ(changes_, 0);

    control_.setOn(true);
    EXPECT_EQ(limit_.rate(), BytesPerSecond{5'000'000});
    EXPECT_EQ(control_.text(), "5 MB/s");
    loop_.advance(2h);
    EXPECT_EQ(limit_.rate(), BytesPerSecond{1024 * 1024});
    EXPECT_EQ(control_.text(), "1 MB/s until 18:00");
    EXPECT_EQ(control_.holdReason(), std::nullopt);
    loop_.advance(10h);
    EXPECT_EQ(control_.holdReason(), "Held until Tue 06:00");
    EXPECT_EQ(limit_.rate(), BytesPerSecond{5'000'000});  // of uploads
    loop_.advance(2h + 1min);
    EXPECT_EQ(control_.holdReason(), "Held until 06:00");
    control_.setOn(false);
    EXPECT_EQ(control_.holdReason(), std::nullopt);
    EXPECT_EQ(limit_.rate(), std::nullopt);
    EXPECT_TRUE(loop_.isIdle());
}

TEST_F(SpeedControlTest, noticesSoonThatTheClockWasPutForward) {
    setTimetable("mon 18:00-20:00 hold");
    preferences_.assign(preference::speedLimit, BytesPerSecond{0});
    control_.setOn(true);
    EXPECT_EQ(control_.text(), "No limit");
    clock_.set(monday_ + 17h);  // the machine slept
    loop_.advance(30s);
    EXPECT_EQ(control_.holdReason(), "Held until 20:00");
    setTimetable("daily 00:00-24:00 hold");
    EXPECT_EQ(control_.holdReason(), "Held by the timetable");
}

}  // namespace
}  // namespace tovri::test
