#include "platform/posix/SystemClock.h"

#include <fstream>

namespace tovri {

// A random number that the kernel draws when it starts (random(4)).
std::string SystemClock::bootID() const {
    std::string number;
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), number);
    return number;
}

}  // namespace tovri
