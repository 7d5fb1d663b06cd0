#pragma once

#include <cstdint>
#include <random>

#include "platform/RandomSource.h"

namespace tovri::test {

// The same identifiers in every run with the same seed, each a well-formed version 4 UUID.
class SeededRandom final : public RandomSource {
public:
    explicit SeededRandom(std::uint64_t seed = 1) : numbers_(seed) {}

    [[nodiscard]] UUID makeUUID() override {
        UUID id;
        for (std::uint8_t& byte : id.bytes) byte = static_cast<std::uint8_t>(numbers_());
        id.bytes[6] = static_cast<std::uint8_t>((id.bytes[6] & 0x0FU) | 0x40U);
        id.bytes[8] = static_cast<std::uint8_t>((id.bytes[8] & 0x3FU) | 0x80U);
        return id;
    }

private:
    std::mt19937_64 numbers_;
};

}  // namespace tovri::test
