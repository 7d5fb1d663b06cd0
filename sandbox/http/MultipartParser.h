#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "sandbox/http/HttpServer.h"

namespace tovri::sandbox {

// Takes a multipart/form-data body apart as it arrives, in pieces of any size. The HTTP library's own parser reads some
// 50 MB a second, too slow for uploads of gigabytes.
class MultipartParser {
public:
    MultipartParser(std::string_view boundary, BodyReader::OnPart onPart, BodyReader::OnData onData);

    // False when the body is malformed or a callback wants no more.
    bool feed(std::string_view bytes);

    // Whether the closing boundary has come.
    bool isComplete() const { return state_ == State::done; }

    // The boundary that a Content-Type header names; empty when it is not of this type.
    static std::string boundaryOf(std::string_view contentType);

private:
    enum class State {
        preamble,  // before the first boundary
        headers,   // of a part
        content,   // of a part
        done,      // after the closing boundary; whatever follows is ignored
    };

    bool step(bool& isStuck);
    bool readHeaders(bool& isStuck);
    bool readContent(bool& isStuck);
    bool tellContent(std::string_view bytes);

    std::string delimiter_;
    BodyReader::OnPart onPart_;
    BodyReader::OnData onData_;
    State state_ = State::preamble;
    std::string pending_ = "\r\n";  // so that the first boundary looks like the others
};

}  // namespace tovri::sandbox
