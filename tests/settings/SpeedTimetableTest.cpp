#include <gtest/gtest.h>

#include "settings/SpeedTimetable.h"

namespace tovri {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

// In 2026 the clocks of Berlin go forward on March 29 at 01:00 UTC and back on October 25 at 01:00 UTC.
seconds berlin(Timestamp moment) {
    const bool isSummer = moment >= sys_days(2026y / March / 29) + 1h && moment < sys_days(2026y / October / 25) + 1h;
    return isSummer ? 2h : 1h;
}

seconds utc(Timestamp /*moment*/) {
    return 0s;
}

SpeedTimetable table(const char* text) {
    return SpeedTimetable::parse(text).value();
}

// "500K", "hold", or "-" where nothing counts.
std::string whatCounts(const SpeedTimetable& timetable, Timestamp moment,
                       const SpeedTimetable::ClockOffset& offset = utc) {
    const TimetableEntry* entry = timetable.at(moment, offset);
    if (entry == nullptr) return "-";
    return entry->isHold() ? "hold" : textOf(*entry->limit);
}

TEST(SpeedTimetableText, isReadAndWritten) {
    struct Case {
        const char* text;
        const char* written;
    };

    const Case cases[] = {
        {"", ""},
        {"mon-fri 08:00-18:00 500K", "mon-fri 08:00-18:00 500K"},
        {" Sat,SUN   22:00-06:00  HOLD ;; daily 00:00-24:00 1048576;",
         "sat,sun 22:00-06:00 hold; daily 00:00-24:00 1M"},
        {"fri-mon 12:30-12:30 1500", "mon,fri-sun 12:30-12:30 1500"},  // a whole day
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        const auto read = SpeedTimetable::parse(c.text);
        ASSERT_TRUE(read);
        EXPECT_EQ(read->text(), c.written);
        EXPECT_EQ(SpeedTimetable::parse(read->text()), read);
    }
    for (const char* wrong :
         {"mon", "mon 8:00-18:00 1M", "mon 08:00 1M", "mon 08:00-25:00 1M", "mon 08:00-24:01 1M", "mon 08:60-09:00 1M",
          "mon 08:00-09:00 0", "mon 08:00-09:00 fast", "mo 08:00-09:00 1M", "mon- 08:00-09:00 1M",
          "mon-tue-wed 08:00-09:00 1M", "mon 08:00-09:00 1M hold", "mon 08:00-09:00 1M, tue 08:00-09:00 1M"})
        EXPECT_FALSE(SpeedTimetable::parse(wrong)) << wrong;
    EXPECT_EQ(daysText(table("mon,tue,thu-sat 00:00-01:00 hold").entries.front().days), "Mon, Tue, Thu–Sat");
}

TEST(SpeedTimetable, countsFromTheFirstMinuteOnAndNotInTheLast) {
    const SpeedTimetable timetable = table("mon 08:00-18:00 500K; fri,sun 22:00-06:00 hold");
    const sys_days monday = 2026y / June / 1;
    EXPECT_EQ(whatCounts(timetable, monday + 8h - 1ms), "-");
    EXPECT_EQ(whatCounts(timetable, monday + 8h), "500K");
    EXPECT_EQ(whatCounts(timetable, monday + 18h - 1ms), "500K");
    EXPECT_EQ(whatCounts(timetable, monday + 18h), "-");
    EXPECT_EQ(whatCounts(timetable, monday + days(1) + 12h), "-");
    EXPECT_EQ(whatCounts(timetable, monday + days(4) + 23h), "hold");
    EXPECT_EQ(whatCounts(timetable, monday + days(5) + 5h), "hold");  // of Friday's night
    EXPECT_EQ(whatCounts(timetable, monday + days(5) + 23h), "-");
    EXPECT_EQ(whatCounts(timetable, monday + 5h), "hold");  // of Sunday's, over the week's end
    EXPECT_EQ(timetable.nextChange(monday + 5h, utc), monday + 6h);
    EXPECT_EQ(timetable.nextChange(monday + 6h, utc), monday + 8h);
    EXPECT_EQ(timetable.nextChange(monday + 18h, utc), monday + days(4) + 22h);
}

TEST(SpeedTimetable, takesTheStrictestOfSeveral) {
    const SpeedTimetable timetable =
        table("daily 00:00-24:00 1M; mon 08:00-18:00 2M; mon 10:00-11:00 hold; mon 10:30-12:00 500K");
    const sys_days monday = 2026y / June / 1;
    EXPECT_EQ(whatCounts(timetable, monday + 9h), "1M");
    EXPECT_EQ(timetable.nextChange(monday + 1h, utc), monday + 10h);  // that at 8 changes nothing
    EXPECT_EQ(whatCounts(timetable, monday + 10h + 45min), "hold");
    EXPECT_EQ(timetable.nextChange(monday + 10h, utc), monday + 11h);
    EXPECT_EQ(whatCounts(timetable, monday + 11h), "500K");
    EXPECT_EQ(table("daily 00:00-24:00 1M").nextChange(monday, utc), std::nullopt);
    EXPECT_EQ(table("").nextChange(monday, utc), std::nullopt);
}

// What counts follows the clock on the wall, whatever that does.
TEST(SpeedTimetable, followsTheClockThroughTheNightsInWhichItIsPutForwardAndBack) {
    const SpeedTimetable timetable = table("daily 02:30-04:00 hold");
    const Timestamp spring = sys_days(2026y / March / 29);  // 01:00 there
    EXPECT_EQ(whatCounts(timetable, spring + 1h - 1s, berlin), "-");
    EXPECT_EQ(timetable.nextChange(spring, berlin), spring + 1h);  // 03:00 at once
    EXPECT_EQ(whatCounts(timetable, spring + 1h, berlin), "hold");
    EXPECT_EQ(timetable.nextChange(spring + 1h, berlin), spring + 2h);

    const Timestamp autumn = sys_days(2026y / October / 25);  // 02:00 there
    EXPECT_EQ(timetable.nextChange(autumn, berlin), autumn + 30min);
    EXPECT_EQ(timetable.nextChange(autumn + 30min, berlin), autumn + 1h);  // 02:00 again
    EXPECT_EQ(whatCounts(timetable, autumn + 1h, berlin), "-");
    EXPECT_EQ(timetable.nextChange(autumn + 1h, berlin), autumn + 1h + 30min);
    EXPECT_EQ(timetable.nextChange(autumn + 90min, berlin), autumn + 3h);

    // The hour that is missing: what lies in it does not come, the rest of the week is where it was.
    const SpeedTimetable missing = table("sun 02:15-02:45 hold");
    EXPECT_EQ(missing.nextChange(spring, berlin), spring + days(7) + 15min);
}

}  // namespace
}  // namespace tovri
