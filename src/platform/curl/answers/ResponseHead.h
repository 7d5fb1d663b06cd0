#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "platform/TransferSession.h"

namespace tovri {

// What the program uses of an answer's status line and headers.
struct ResponseHead {
    int status = 0;
    std::string location;
    std::string entityTag;  // with its quotes, and with W/ when it is weak
    std::string lastModified;
    std::string contentRange;
    std::string contentEncoding;  // all of them, but "identity", which stands for none
    std::string transferCoding;   // likewise
    RetryHints retryHints;
    std::optional<ByteCount> contentLength;

    // Takes in one header line, with or without its line end.
    void read(std::string_view line);

    // Whether it sends the client to another address.
    [[nodiscard]] bool isRedirect() const;

    // Length of the body as announced; none when only the end of the body tells it.
    [[nodiscard]] std::optional<ByteCount> bodyLength() const {
        return transferCoding.empty() ? contentLength : std::nullopt;
    }

    [[nodiscard]] AnswerHead answer() const;
};

}  // namespace tovri
