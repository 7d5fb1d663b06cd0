#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Bytes.h"
#include "base/UUID.h"
#include "downloads/partials/Checksum.h"
#include "service/records/FileID.h"

namespace tovri {

// Which file of put.io's a partial file has bytes of.
struct NotedFile {
    FileID fileID;
    ByteCount length = 0;              // of the whole file, as its server announced it
    std::string validator;             // as AnswerHead::validator; may be empty
    std::optional<Checksum> checksum;  // put.io's own, of the whole file, where its listing has one

    // Whether what is fetched later can be known to belong to the same file.
    [[nodiscard]] bool canBeGoneOnFrom() const { return length > 0 && (!validator.empty() || checksum); }

    // Whether both are the same bytes of put.io's, by the checksum, or else by the validator.
    [[nodiscard]] bool isSame(const NotedFile& other) const;

    bool operator==(const NotedFile&) const = default;
};

// Where bytes that lie one behind the other end, and their checksum, where it is known.
struct NotedReach {
    ByteCount end = 0;
    std::optional<Checksum> checksum;

    bool operator==(const NotedReach&) const = default;
};

// Bytes of the file that have arrived, as one connection brought them: those from `first` on.
struct NotedPart {
    ByteCount first = 0;
    NotedReach written;  // given to the system, so that a kill does not take them
    NotedReach durable;  // on the disk, so that a loss of power does not; never beyond `written`

    bool operator==(const NotedPart&) const = default;
};

// What a partial file is, and which of its bytes are data: those of the parts, and no others.
struct PartialNote {
    UUID partial;  // names the partial file
    NotedFile file;
    bool isOnTrial = false;        // a server has agreed to go on from these bytes, and nothing has come since
    std::vector<NotedPart> parts;  // at least one, in their order; none touches another's bytes

    // What lies at the file's beginning without a gap.
    [[nodiscard]] NotedReach beginning() const;

    // How many bytes are written, in all parts, and where the last of them ends.
    [[nodiscard]] ByteCount length() const;

    [[nodiscard]] ByteCount end() const { return parts.empty() ? 0 : parts.back().written.end; }

    bool operator==(const PartialNote&) const = default;
};

// What either of the lists says that is there, each in its order.
[[nodiscard]] std::vector<NotedPart> united(std::vector<NotedPart> parts, const std::vector<NotedPart>& more);

// A note as it is written: after which others, and since which start of the machine.
struct DatedNote {
    std::int64_t number = 0;  // 1 and up; the highest one counts
    std::string bootID;       // WallClock::bootID
    PartialNote note;

    // Lines of text, of which the last is the checksum of those before.
    [[nodiscard]] ByteBlob encoded() const;

    // None for anything that `encoded` cannot have made. What follows a zero byte is nothing of it.
    [[nodiscard]] static std::optional<DatedNote> parse(std::string_view text);

    // What still is true since this start of the machine: `written` is what counts then. None when nothing is.
    [[nodiscard]] std::optional<PartialNote> counting(std::string_view currentBootID) const;

    bool operator==(const DatedNote&) const = default;
};

}  // namespace tovri
