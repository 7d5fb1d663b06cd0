#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace tovri::sandbox {

// Seconds since 1970.
using UnixTime = std::int64_t;

UnixTime unixTimeNow();

// "2013-09-07T21:32:03", in UTC and without a zone, as the service writes times.
std::string serviceTime(UnixTime time);

// "Sat, 07 Sep 2013 21:32:03 GMT" (RFC 9110, IMF-fixdate).
std::string httpDate(UnixTime time);

}  // namespace tovri::sandbox
