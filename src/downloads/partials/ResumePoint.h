#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/UUID.h"
#include "downloads/partials/Checksum.h"

namespace tovri {

// How a broken or paused transfer goes on: what was fetched, what must be the same when the rest is asked for, and
// where the first bytes lie. The opaque token of an item is its text.
struct ResumePoint {
    std::string link;
    std::string validator;             // as AnswerHead::validator; empty only where all bytes are there
    ByteCount length = 0;              // of the whole file
    ByteCount offset = 0;              // bytes in the partial file that count; at least 1, at most `length`
    UUID partial;                      // names the partial file
    std::optional<Checksum> checksum;  // of these bytes, where it is known
    std::optional<std::filesystem::path> folder = std::nullopt;  // of the partial file; none: the data folder's own

    // All bytes of a file, which nothing has to be fetched of.
    [[nodiscard]] static ResumePoint ofWhole(const UUID& partial, ByteCount length) {
        return {.link = "", .validator = "", .length = length, .offset = length, .partial = partial, .checksum = {}};
    }

    [[nodiscard]] bool isWhole() const { return offset == length; }

    // Lines of text: the format's name, the numbers, the partial file's name, the validator, the link, the checksum,
    // and where there is one, the folder. What lies in the data folder is found there wherever that moves.
    [[nodiscard]] ByteBlob encoded() const;

    // None for anything that `encoded` cannot have made, now or in the first format, which had neither
    // checksum nor folder.
    [[nodiscard]] static std::optional<ResumePoint> parse(std::string_view token);

    bool operator==(const ResumePoint&) const = default;
};

}  // namespace tovri
