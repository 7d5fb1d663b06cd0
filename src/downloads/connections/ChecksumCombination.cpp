#include "downloads/connections/ChecksumCombination.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace tovri {
namespace {

// A checksum is a polynomial over GF(2), the remainder of dividing by the generator below; its highest bit is the
// coefficient of x^0. Bytes that follow multiply it by x^8 each, and add their own: that one may combine checksums in
// this way is a fact from the manual of zlib (crc32_combine). What the checksum is inverted with before and after
// cancels out.
using Polynomial = std::uint32_t;

constexpr Polynomial generator = 0xEDB88320U;  // ISO 3309, without x^32
constexpr Polynomial one = 0x80000000U;

constexpr Polynomial timesX(Polynomial a) {
    return (a >> 1U) ^ ((a & 1U) != 0 ? generator : 0U);
}

constexpr Polynomial times(Polynomial a, Polynomial b) {
    Polynomial product = 0;
    for (; a != 0; a <<= 1U, b = timesX(b))
        if ((a & one) != 0) product ^= b;
    return product;
}

constexpr std::size_t lengthBits = 63;

// At place n: x^(8 * 2^n).
constexpr auto powers = [] {
    std::array<Polynomial, lengthBits> table{};
    Polynomial power = one >> 8U;
    for (Polynomial& entry : table) {
        entry = power;
        power = times(power, power);
    }
    return table;
}();

}  // namespace

Checksum combined(Checksum first, Checksum second, ByteCount length) {
    Polynomial shifted = first.value();
    auto rest = static_cast<std::uint64_t>(length);
    for (std::size_t n = 0; rest != 0; ++n, rest >>= 1U)
        if ((rest & 1U) != 0) shifted = times(shifted, powers.at(n));
    return Checksum(shifted ^ second.value());
}

}  // namespace tovri
