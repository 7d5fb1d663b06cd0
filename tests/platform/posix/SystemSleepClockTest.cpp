#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/posix/loop/SystemSleepClock.h"

namespace tovri::test {
namespace {

constexpr std::string_view anHourAndMore = "boottime 5000 0\n";

bool moveOwnBootClock() {
    if (::unshare(CLONE_NEWTIME) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWTIME) != 0) return false;
    const int offsets = ::open("/proc/self/timens_offsets", O_WRONLY | O_CLOEXEC);
    return offsets >= 0 && ::write(offsets, anHourAndMore.data(), anHourAndMore.size()) > 0;
}

// What the clock says in a process whose boot clock is ahead as after a sleep of 5000 seconds; -1 where the system
// allows no such process.
std::chrono::nanoseconds afterSleep() {
    int ends[2];
    if (::pipe(ends) != 0) return std::chrono::nanoseconds(-1);
    const pid_t parent = ::fork();
    if (parent == 0) {
        if (!moveOwnBootClock()) ::_exit(0);
        if (const pid_t child = ::fork(); child != 0) {  // only its children live by the moved clock
            ::waitpid(child, nullptr, 0);
            ::_exit(0);
        }
        const std::chrono::nanoseconds slept = SystemSleepClock().timeAsleep();
        ::_exit(::write(ends[1], &slept, sizeof slept) == sizeof slept ? 0 : 1);
    }
    ::close(ends[1]);
    ::waitpid(parent, nullptr, 0);
    std::chrono::nanoseconds slept(-1);
    if (::read(ends[0], &slept, sizeof slept) != sizeof slept) slept = std::chrono::nanoseconds(-1);
    ::close(ends[0]);
    return slept;
}

}  // namespace

TEST(SystemSleepClock, jumpsWhenTheMachineSlept) {
    const std::chrono::nanoseconds before = SystemSleepClock().timeAsleep();
    const std::chrono::nanoseconds after = afterSleep();
    if (after.count() < 0) GTEST_SKIP() << "this system allows no clock of one's own";
    EXPECT_GT(after - before, std::chrono::seconds(4999));
    EXPECT_LT(after - before, std::chrono::seconds(5060));
    EXPECT_LT(SystemSleepClock().timeAsleep() - before, std::chrono::seconds(1));
}

}  // namespace tovri::test
