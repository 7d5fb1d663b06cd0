#pragma once

#include "platform/MainLoop.h"
#include "platform/RandomSource.h"

namespace tovri {

// How long to wait before the next try: about a second after the first failure, twice as long after each further one,
// up to about a minute. A fifth more or less than that, so that many who failed together do not come back together.
class Backoff {
public:
    // `random` outlives this.
    explicit Backoff(RandomSource& random) : random_(random) {}

    // After one more failure.
    [[nodiscard]] MainLoop::Duration next();

    void reset() { failures_ = 0; }

private:
    RandomSource& random_;
    int failures_ = 0;
};

}  // namespace tovri
