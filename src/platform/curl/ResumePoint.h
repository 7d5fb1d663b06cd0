#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/UUID.h"

namespace tovri {

// How a broken or paused transfer goes on: what was fetched, what must be the same when the rest is asked for, and
// where the first bytes lie.
struct ResumePoint {
    std::string link;
    std::string validator;  // as ResponseHead::validator gives it; never empty
    ByteCount length = 0;   // of the whole file
    ByteCount offset = 0;   // bytes in the partial file that count; at least 1 and less than `length`
    UUID partial;           // names the partial file

    // Six lines of text: the format's name, the numbers, the partial file's name, the validator, the link.
    [[nodiscard]] ByteBlob encoded() const;

    // None for anything that `encoded` cannot have made.
    [[nodiscard]] static std::optional<ResumePoint> parse(std::string_view token);

    bool operator==(const ResumePoint&) const = default;
};

}  // namespace tovri
