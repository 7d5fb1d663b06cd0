#pragma once

#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// In place of a number that makes no sense, as a size below nothing.
inline constexpr std::string_view noNumber = "–";

// A size as people read it, in decimal units: "0 bytes", "1 byte", "999 bytes", "34 KB", "1.2 MB", "1.25 GB". Kilobytes
// have no fraction, megabytes one digit, larger units two; zeros at the fraction's end are dropped.
[[nodiscard]] std::string formatByteCount(ByteCount count);

// "1.2 MB/s".
[[nodiscard]] std::string formatRate(BytesPerSecond rate);

// To the byte: "1 byte", "153 bytes", "4,294,967,296 bytes".
[[nodiscard]] std::string formatExactByteCount(ByteCount count);

// The number alone, in groups of three digits: "4,294,967,296".
[[nodiscard]] std::string formatGroupedNumber(ByteCount number);

}  // namespace tovri
