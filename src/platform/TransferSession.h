#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Bytes.h"
#include "base/Result.h"
#include "base/RetryHints.h"
#include "base/Subscription.h"

namespace tovri {

// The part of a file that an answer carries: bytes `first` to `last`, both included, of `length`.
struct ContentRange {
    ByteCount first = 0;
    ByteCount last = 0;
    ByteCount length = 0;

    bool operator==(const ContentRange&) const = default;
};

// What an answer says before its body, after all redirects.
struct AnswerHead {
    int status = 0;
    std::optional<ByteCount> bodyLength;       // as announced; none when only the end of the body tells it
    std::optional<ContentRange> contentRange;  // none unless given and consistent
    std::string contentEncoding;               // empty when the bytes are the file's own
    std::string validator;  // a strong entity tag, else the date of the last change; empty without either (RFC 9110,
                            // section 13.1.5)
    RetryHints retryHints;
};

// Takes an attempt's bytes in their order. On the session's thread; never blocks.
class ByteReceiver {
public:
    virtual ~ByteReceiver() = default;

    enum class Taken {
        all,
        none,     // no room now: nothing more is read from this connection until `whenReady` says so; then these bytes
                  // come again from the first one on, in pieces of any size
        refused,  // the attempt ends
    };
    [[nodiscard]] virtual Taken take(std::string_view bytes) = 0;

    // After `none`: calls `ready` once, on any thread, as soon as there is room.
    virtual void whenReady(std::move_only_function<void()> ready) = 0;

    // How fast it takes bytes at most, in the long run; none: as fast as they come. What comes over the line before its
    // time would go beyond what the user allows the line.
    [[nodiscard]] virtual std::optional<BytesPerSecond> pace() const { return std::nullopt; }
};

// One attempt at one range of bytes.
struct TransferRequest {
    std::string url;
    ByteCount first = 0;            // from this byte on
    std::optional<ByteCount> last;  // to this one, included; none: to the end
    std::string validator;          // when not empty, sent as If-Range with a range that does not begin at 0
    std::chrono::milliseconds idleLimit{60'000};  // the longest time in which the server may send nothing

    // Whether the body is wanted. On the session's thread, before the first byte, and a function of its argument alone.
    // Its failure ends the attempt.
    std::function<Result<void>(const AnswerHead& head)> accept;
    std::shared_ptr<ByteReceiver> receiver;
    std::function<void(ByteCount received)> onProgress;  // may be empty; main thread, some twenty times a second
};

// How an attempt ended.
struct TransferEnd {
    std::optional<AnswerHead> head;  // none when no answer came
    ByteCount received = 0;          // bytes that the receiver took
    std::optional<Error> error;      // none when the whole body came, as long as announced
};

// Fetches bytes, with at most 6 connections per host at a time. Decides nothing: no second attempt, no file, no view on
// a status. Follows redirects as HTTPSession does. Bytes past the announced length are never handed on.
class TransferSession {
public:
    using Done = std::move_only_function<void(TransferEnd)>;

    virtual ~TransferSession() = default;

    // `done` runs on the main thread, after all progress. Taking the subscription back ends the attempt: neither `done`
    // nor `onProgress` runs then, and from some moment soon after the receiver is given nothing more.
    virtual Subscription fetch(TransferRequest request, Done done) = 0;

    // Whether bytes are handed on more slowly than they could come, because the user wants it so.
    [[nodiscard]] virtual bool isLimited() const { return false; }
};

}  // namespace tovri
