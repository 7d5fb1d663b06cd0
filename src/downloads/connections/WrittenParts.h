#pragma once

#include <optional>
#include <vector>

#include "downloads/connections/ByteRange.h"
#include "downloads/partials/Checksum.h"

namespace tovri {

// Bytes that lie one behind the other, with their checksum where it is known.
struct WrittenPart {
    ByteRange range;
    std::optional<Checksum> checksum = Checksum();

    bool operator==(const WrittenPart&) const = default;
};

// Which bytes of a file are there. Ones that touch are one part.
class WrittenParts {
public:
    WrittenParts() = default;

    // Ascending; no byte twice, and none of them empty.
    explicit WrittenParts(std::vector<WrittenPart> parts);

    // More of them, none of which was there before.
    void add(const WrittenPart& more);

    // In their order, with bytes between each two.
    [[nodiscard]] const std::vector<WrittenPart>& parts() const { return parts_; }

    // The part at the beginning of the file; empty where there is none.
    [[nodiscard]] WrittenPart beginning() const;

    // Where the last one ends.
    [[nodiscard]] ByteCount end() const { return parts_.empty() ? 0 : parts_.back().range.end; }

    // Of all parts.
    [[nodiscard]] ByteCount length() const { return length_; }

    // What a file of this length lacks.
    [[nodiscard]] std::vector<ByteRange> missing(ByteCount wholeLength) const;

private:
    std::vector<WrittenPart> parts_;
    ByteCount length_ = 0;
};

}  // namespace tovri
