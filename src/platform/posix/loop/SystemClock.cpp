#include "platform/posix/loop/SystemClock.h"

#include <ctime>
#include <fstream>

namespace tovri {

// A random number that the kernel draws when it starts (random(4)).
std::string SystemClock::bootID() const {
    std::string number;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), number);
    return number;
}

// The user may have gone to another time zone since it was last asked.
std::chrono::seconds SystemClock::offsetFromUTC(Timestamp moment) const {
    ::tzset();
    const std::time_t time = std::chrono::system_clock::to_time_t(moment);
    std::tm local{};
    if (::localtime_r(&time, &local) == nullptr) return std::chrono::seconds::zero();
    return std::chrono::seconds(local.tm_gmtoff);
}

}  // namespace tovri
