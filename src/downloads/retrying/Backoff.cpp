#include "downloads/retrying/Backoff.h"

#include <algorithm>

namespace tovri {

MainLoop::Duration Backoff::next() {
    using std::chrono::milliseconds;
    constexpr milliseconds first{1'000};
    constexpr milliseconds longest{60'000};
    constexpr int doublings = 6;  // enough to reach the longest
    const milliseconds delay = std::min(first * (1 << std::min(failures_, doublings)), longest);
    failures_ = std::min(failures_ + 1, doublings);
    const UUID random = random_.makeUUID();
    const int share = random.bytes[0] * 256 + random.bytes[1];  // of 65,536
    return delay * 4 / 5 + delay * 2 * share / 5 / 65'536;
}

}  // namespace tovri
