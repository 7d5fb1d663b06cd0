#pragma once

#include <cstdint>

namespace tovri::sandbox {

// The output function of splitmix64 (Steele, Lea, Flood 2014): every bit of the result depends on every bit of the
// input.
constexpr std::uint64_t mix(std::uint64_t value) {
    value += 0x9e3779b97f4a7c15;
    value = (value ^ (value >> 30U)) * 0xbf58476d1ce4e5b9;
    value = (value ^ (value >> 27U)) * 0x94d049bb133111eb;
    return value ^ (value >> 31U);
}

// Random numbers that are the same for the same seed on every machine, which the standard distributions are not.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() { return mix(state_++); }

    // A number in [0, bound); the bias is far below anything a test account could show.
    std::uint64_t below(std::uint64_t bound) { return next() % bound; }

    // A number in [0, 1).
    double fraction() { return static_cast<double>(next() >> 11U) * 0x1p-53; }

private:
    std::uint64_t state_;
};

}  // namespace tovri::sandbox
