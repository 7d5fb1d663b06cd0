#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tovri::sandbox {

// Reads "0", "1500", "64KiB", "1.5 MB" or "2GiB"; a K, M, G or T alone means KiB, MiB, GiB, TiB.
std::optional<std::uint64_t> parseByteSize(std::string_view text);

}  // namespace tovri::sandbox
