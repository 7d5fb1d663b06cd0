#include "sandbox/Time.h"

#include <ctime>

#include <fmt/chrono.h>

namespace tovri::sandbox {

UnixTime unixTimeNow() {
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

std::string serviceTime(UnixTime time) {
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}", fmt::gmtime(time));
}

std::string httpDate(UnixTime time) {
    return fmt::format("{:%a, %d %b %Y %H:%M:%S} GMT", fmt::gmtime(time));
}

}  // namespace tovri::sandbox
