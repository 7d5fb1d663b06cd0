#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

// Called with each text (LLVM's libFuzzer names it so).
// NOLINTNEXTLINE(readability-identifier-naming)
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace tovri::fuzz {

inline std::string_view textOf(const std::uint8_t* bytes, std::size_t size) {
    return {reinterpret_cast<const char*>(bytes), size};
}

// What has to hold for every text.
inline void require(bool holds) {
    if (!holds) std::abort();
}

}  // namespace tovri::fuzz
