#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace tovri::test {

// The longest that a test waits for what must come, however busy the machine is.
constexpr std::chrono::seconds patience{60};

// True as soon as what another thread or process does makes the condition so; false when that takes too long.
inline bool comesTrue(const std::function<bool()>& condition) {
    const auto limit = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace tovri::test
