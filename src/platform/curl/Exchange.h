#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Result.h"
#include "platform/ByteAllowance.h"
#include "platform/curl/RequestBody.h"
#include "platform/curl/answers/Address.h"
#include "platform/curl/answers/ResponseHead.h"
#include "platform/curl/sockets/CurlLoop.h"

namespace tovri {

struct ExchangeRequest {
    std::string method = "GET";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers;
    std::optional<RequestBody> body;
    std::shared_ptr<ByteAllowance> bodyAllowance = nullptr;  // may be empty; no more of the body is sent than it gives
    std::chrono::milliseconds idleLimit{60'000};  // the longest time without any byte moving in either direction
    std::optional<std::chrono::milliseconds> timeLimit = {};  // for all of it, but the sending of a file
    std::optional<ByteCount> bodyLimit = {};                  // of the answer, decompressed
    bool acceptsCompression = false;                          // whether the answer may travel compressed
};

// What becomes of a piece of a body.
enum class BodyFlow {
    goesOn,
    pauses,  // the piece was not taken, and comes again after Exchange::resume
};

// Whom an exchange tells, on the loop's thread. Only in didEnd, the last call, may the receiver destroy the exchange.
class ExchangeReceiver {
public:
    virtual ~ExchangeReceiver() = default;

    // The head of the answer itself, after all redirects. A failure ends the exchange with it.
    [[nodiscard]] virtual Result<void> didReceiveHead(const ResponseHead& head) = 0;
    [[nodiscard]] virtual Result<BodyFlow> didReceiveBytes(std::string_view bytes) = 0;

    // Very often, while a request with a body is sent.
    virtual void didSend(ByteCount sent, ByteCount total) = 0;

    // None of the body may be sent now: the sending goes on after Exchange::resume.
    virtual void didPauseBody() {}

    // How fast it takes the body at most; none: as fast as that comes.
    [[nodiscard]] virtual std::optional<BytesPerSecond> pace() const { return std::nullopt; }

    virtual void tick(std::chrono::steady_clock::time_point now) = 0;
    virtual void didEnd(Result<void> result) = 0;
};

// One request and its answer, over as many redirects as are allowed. Ends by itself when nothing moves for too long;
// the time that it waits for one of the host's connections or is paused does not count. A short body that nobody wants
// is read to its end, so that its connection can be kept. Destroying the exchange withdraws the request. An exception
// of its receiver ends it as a failure. All on the loop's thread.
class Exchange final : private CurlLoopClient {
public:
    // Both outlive the exchange.
    Exchange(CurlLoop& loop, ExchangeReceiver& receiver, ExchangeRequest request);
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange() override;

    // A failure when the address is against the rules; the receiver is not told anything then.
    [[nodiscard]] Result<void> start();

    // Goes on with the body, in whichever direction; nothing when it is not paused. Not to be called from what the
    // receiver is told.
    void resume();

private:
    using TimePoint = std::chrono::steady_clock::time_point;
    struct Callbacks;  // the library's C functions

    [[nodiscard]] CURL* handle() override { return handle_.get(); }

    void didFinish(CURLcode code) override;

    void didSleep() override;

    void didLoseWatch() override { isUnwatched_ = true; }

    void tick(TimePoint now) override;

    [[nodiscard]] bool isRepetition();
    [[nodiscard]] Result<void> send();
    void configureHeaders();
    void configureBody();
    void configureCallbacks();
    void follow();
    void dropBody();
    [[nodiscard]] bool mayMakeWay();
    void sendAgain();
    [[nodiscard]] bool lacksHandles() const;
    [[nodiscard]] Error describe(CURLcode code) const;
    void giveUp(Error why);
    void end(Result<void> result);

    [[nodiscard]] bool readHeaderLine(std::string_view line);
    [[nodiscard]] bool readHeadEnd();
    [[nodiscard]] bool hasKnownCodings() const;

    [[nodiscard]] bool isUnwanted() const { return refusal_ || head_.isRedirect(); }

    [[nodiscard]] bool refuse(Error why);
    [[nodiscard]] std::size_t readBody(std::string_view bytes);
    [[nodiscard]] std::size_t sendBody(char* buffer, std::size_t size);
    [[nodiscard]] bool hasExcess() const;
    [[nodiscard]] ByteCount movedBytes() const;
    [[nodiscard]] int unsentBytes() const;

    CurlLoop& loop_;
    ExchangeReceiver& receiver_;
    ExchangeRequest request_;
    Address address_;
    EasyHandle handle_;
    HeaderList headers_;
    int redirects_ = 0;
    const bool staysAtOrigin_;  // whatever a redirect says
    TimePoint begin_;

    ResponseHead head_;
    ByteCount headLength_ = 0;
    TimePoint headEnd_;
    bool isHeadComplete_ = false;
    ByteCount bodyOnWire_ = 0;      // as it arrived, before the library cuts it to the announced length
    ByteCount bodyRead_ = 0;        // as the receiver gets it, decompressed
    bool isSent_ = false;           // or about to be, on a connection that stands
    int waysMade_ = 0;              // for which kept connections were ended
    int openError_ = 0;             // the errno of a socket that could not be opened
    bool isUnwatched_ = false;      // it would not be told when its connection is ready
    int socket_ = -1;               // of the connection, once that stands
    bool hasExcess_ = false;        // more came than was announced
    bool isPaused_ = false;         // by the receiver, or by the allowance
    bool hasThrown_ = false;        // a callback ended the exchange with an exception
    std::optional<Error> refusal_;  // why a callback ended the exchange
    bool hasBegun_ = false;         // no longer waiting for one of the host's connections
    ByteCount movedAtLastLook_ = -1;
    TimePoint lastMovement_;
};

}  // namespace tovri
