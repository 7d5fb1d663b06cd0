#pragma once

#include <optional>
#include <string>

#include "base/Result.h"
#include "downloads/partials/PartialFile.h"
#include "platform/TransferSession.h"

namespace tovri {

// What an attempt asks for, and what is known of the file beforehand.
struct ExpectedAnswer {
    ByteCount offset = 0;               // the first byte asked for
    std::optional<ByteCount> end = {};  // the first one behind those asked for; none: all
    std::optional<ByteCount> length;    // of the whole file, as an earlier answer announced it; given where only a
                                        // part of it is asked for
    std::string validator;              // of the bytes before the offset
    ByteCount listedSize = 0;           // as put.io's listing has it; 0 when it gave none
    bool hasListedChecksum = false;     // the whole file will be compared with it
};

// Whether an answer's body is what was asked for, and what it announces. Its failure is what the user reads. The same
// content may come from another of the storage's machines under another validator: where the listing has a checksum,
// that decides in the end.
[[nodiscard]] Result<AnnouncedFile> checkAnswer(const ExpectedAnswer& expected, const AnswerHead& head);

// Whether an answer that fails the check says that the server does not go on from the bytes before the offset: it sends
// the whole file, another part or another file, or has no such part.
[[nodiscard]] bool isRefusal(const ExpectedAnswer& expected, const AnswerHead& head);

}  // namespace tovri
