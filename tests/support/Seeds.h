#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace tovri::test {

// Runs a scenario for each seed from 1 to `last`, or for the one that TOVRI_SEED names, until one fails.
template <class Run>
void forEachSeed(std::uint64_t last, Run run) {
    const char* const chosen = std::getenv("TOVRI_SEED");
    const std::uint64_t first = chosen ? std::strtoull(chosen, nullptr, 10) : 1;
    if (chosen) last = first;
    for (std::uint64_t seed = first; seed <= last; ++seed) {
        SCOPED_TRACE("TOVRI_SEED=" + std::to_string(seed));
        run(seed);
        if (testing::Test::HasFailure()) return;
    }
}

}  // namespace tovri::test
