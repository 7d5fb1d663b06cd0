#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"

namespace tovri {

// What the program uses of an answer's status line and headers.
struct ResponseHead {
    int status = 0;
    std::string location;
    std::string entityTag;  // with its quotes, and with W/ when it is weak
    std::string lastModified;
    std::string contentRange;
    std::optional<ByteCount> contentLength;
    bool hasTransferCoding = false;

    // Takes in one header line, with or without its line end.
    void read(std::string_view line);

    [[nodiscard]] bool isSuccess() const { return status >= 200 && status <= 299; }

    // Whether it sends the client to another address.
    [[nodiscard]] bool isRedirect() const;

    // Length of the body as announced; none when only the end of the body tells it.
    [[nodiscard]] std::optional<ByteCount> bodyLength() const {
        return hasTransferCoding ? std::nullopt : contentLength;
    }

    // What tells this content from a changed one: a strong entity tag, else the date of the last change; empty without
    // either (RFC 9110, section 13.1.5).
    [[nodiscard]] std::string validator() const;
};

}  // namespace tovri
