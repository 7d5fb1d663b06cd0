#include "platform/curl/Exchange.h"

#include <algorithm>
#include <cerrno>

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "base/ByteCountFormat.h"
#include "platform/curl/answers/HeaderText.h"
#include "platform/curl/answers/TransportError.h"

namespace tovri {
namespace {

constexpr int redirectLimit = 10;
constexpr std::chrono::seconds unwantedBodyTime{1};  // until a new connection is the better way

// A connection whose other end is gone is noticed half a minute after its last byte.
void probeWhileQuiet(int socket) {
    const auto set = [socket](int level, int option, int value) {
        ::setsockopt(socket, level, option, &value, sizeof value);
    };
    set(SOL_SOCKET, SO_KEEPALIVE, 1);
    set(IPPROTO_TCP, TCP_KEEPIDLE, 15);  // seconds
    set(IPPROTO_TCP, TCP_KEEPINTVL, 5);
    set(IPPROTO_TCP, TCP_KEEPCNT, 3);
}

}  // namespace

struct Exchange::Callbacks {
    // No exception may pass through the library; `onException` makes it end the request.
    template <class Value, class Work>
    static Value guarded(Exchange& exchange, Value onException, Work work) noexcept {
        try {
            return work();
        } catch (...) {
            exchange.hasThrown_ = true;
            return onException;
        }
    }

    static std::size_t header(char* data, std::size_t, std::size_t size, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        return guarded<std::size_t>(exchange, CURL_WRITEFUNC_ERROR, [&] {
            return exchange.readHeaderLine({data, size}) ? size : CURL_WRITEFUNC_ERROR;
        });
    }

    static std::size_t write(char* data, std::size_t, std::size_t size, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        return guarded<std::size_t>(exchange, CURL_WRITEFUNC_ERROR, [&] { return exchange.readBody({data, size}); });
    }

    static std::size_t read(char* buffer, std::size_t, std::size_t size, void* self) {
        auto& exchange = *static_cast<Exchange*>(self);
        return guarded<std::size_t>(exchange, CURL_READFUNC_ABORT, [&] { return exchange.sendBody(buffer, size); });
    }

    static int seek(void* self, curl_off_t offset, int) {
        static_cast<Exchange*>(self)->request_.body->moveTo(offset);
        return CURL_SEEKFUNC_OK;
    }

    static int progress(void* self, curl_off_t, curl_off_t, curl_off_t, curl_off_t sent) {
        auto& exchange = *static_cast<Exchange*>(self);
        return guarded(exchange, 1, [&] {
            if (exchange.request_.body) exchange.receiver_.didSend(sent, exchange.request_.body->length());
            return 0;
        });
    }

    // Counts the body bytes of each read: only here are those past the announced length seen.
    static int debug(CURL*, curl_infotype type, char*, std::size_t size, void* self) {
        if (type == CURLINFO_DATA_IN) static_cast<Exchange*>(self)->bodyOnWire_ += static_cast<ByteCount>(size);
        return 0;
    }

    static int resolverStart(void*, void*, void* self) {
        static_cast<Exchange*>(self)->hasBegun_ = true;
        return 0;
    }

    static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* address) {
        auto& exchange = *static_cast<Exchange*>(self);
        exchange.hasBegun_ = true;
        const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
        if (socket < 0) {
            exchange.openError_ = errno;
            return CURL_SOCKET_BAD;
        }
        probeWhileQuiet(socket);
        return guarded<curl_socket_t>(exchange, CURL_SOCKET_BAD, [&] {
            exchange.loop_.sockets().opened(socket);
            return socket;
        });
    }

    // The connection stands, be it new or kept from before.
    static int connected(void* self, char* peer, char*, int peerPort, int localPort) {
        auto& exchange = *static_cast<Exchange*>(self);
        exchange.hasBegun_ = true;
        exchange.movedAtLastLook_ = -1;
        return guarded<int>(exchange, CURL_PREREQFUNC_ABORT, [&] {
            if (exchange.isRepetition()) return CURL_PREREQFUNC_ABORT;
            exchange.socket_ = exchange.loop_.sockets().find(peer, peerPort, localPort);
            exchange.loop_.sockets().setPace(exchange.socket_, exchange.receiver_.pace());
            return CURL_PREREQFUNC_OK;
        });
    }
};

Exchange::Exchange(CurlLoop& loop, ExchangeReceiver& receiver, ExchangeRequest request)
    : loop_(loop), receiver_(receiver), request_(std::move(request)), staysAtOrigin_(request_.method != "GET") {}

Exchange::~Exchange() {
    if (!handle_) return;
    loop_.remove(*this);
    loop_.giveBack(std::move(handle_));
}

// The library sends a request again on its own when a kept connection turns out to have ended. What changes something
// may have been done by then.
bool Exchange::isRepetition() {
    if (!std::exchange(isSent_, true) || request_.method == "GET") return false;
    refusal_ = transportError(CURLE_GOT_NOTHING, address_.host);
    return true;
}

Result<void> Exchange::start() {
    Result<Address> address = Address::parse(request_.url);
    if (!address) return failure(address);
    address_ = std::move(*address);
    begin_ = std::chrono::steady_clock::now();
    return send();
}

Result<void> Exchange::send() {
    if (handle_) loop_.giveBack(std::move(handle_));
    handle_ = loop_.takeHandle();
    head_ = {};
    headLength_ = 0;
    isHeadComplete_ = false;
    bodyOnWire_ = 0;
    bodyRead_ = 0;
    hasExcess_ = false;
    isPaused_ = false;
    isSent_ = false;
    openError_ = 0;
    isUnwatched_ = false;
    socket_ = -1;
    hasBegun_ = false;
    movedAtLastLook_ = -1;

    CURL* const curl = handle_.get();
    curl_easy_setopt(curl, CURLOPT_URL, address_.url.c_str());
    // A proxy would take a loopback address for its own.
    if (address_.isLoopback()) curl_easy_setopt(curl, CURLOPT_PROXY, "");
    // Each address of a host gets its share of this time.
    curl_easy_setopt(curl, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request_.idleLimit.count()));
    if (request_.acceptsCompression) curl_easy_setopt(curl, CURLOPT_ACCEPT_ENCODING, "gzip");
    configureHeaders();
    configureBody();
    configureCallbacks();
    if (!loop_.add(*this)) return failure(shortageError(address_.host));
    return {};
}

void Exchange::configureHeaders() {
    curl_slist* list = curl_slist_append(nullptr, "Expect:");
    for (const auto& [name, value] : request_.headers) {
        std::string line = name;
        line.append(": ").append(value);
        list = curl_slist_append(list, line.c_str());
    }
    headers_.reset(list);
    curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, headers_.get());
}

void Exchange::configureBody() {
    CURL* const curl = handle_.get();
    if (request_.body) {
        request_.body->moveTo(0);
        curl_easy_setopt(curl, CURLOPT_POST, 1L);
        curl_easy_setopt(curl, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request_.body->length()));
        curl_easy_setopt(curl, CURLOPT_READFUNCTION, &Callbacks::read);
        curl_easy_setopt(curl, CURLOPT_READDATA, this);
        curl_easy_setopt(curl, CURLOPT_SEEKFUNCTION, &Callbacks::seek);
        curl_easy_setopt(curl, CURLOPT_SEEKDATA, this);
        curl_easy_setopt(curl, CURLOPT_XFERINFOFUNCTION, &Callbacks::progress);
        curl_easy_setopt(curl, CURLOPT_XFERINFODATA, this);
        curl_easy_setopt(curl, CURLOPT_NOPROGRESS, 0L);
    }
    if (request_.method != (request_.body ? "POST" : "GET"))
        curl_easy_setopt(curl, CURLOPT_CUSTOMREQUEST, request_.method.c_str());
}

void Exchange::configureCallbacks() {
    const auto set = [this](CURLoption function, auto callback, CURLoption data) {
        curl_easy_setopt(handle_.get(), function, callback);
        curl_easy_setopt(handle_.get(), data, this);
    };
    set(CURLOPT_HEADERFUNCTION, &Callbacks::header, CURLOPT_HEADERDATA);
    set(CURLOPT_WRITEFUNCTION, &Callbacks::write, CURLOPT_WRITEDATA);
    set(CURLOPT_DEBUGFUNCTION, &Callbacks::debug, CURLOPT_DEBUGDATA);
    set(CURLOPT_RESOLVER_START_FUNCTION, &Callbacks::resolverStart, CURLOPT_RESOLVER_START_DATA);
    set(CURLOPT_OPENSOCKETFUNCTION, &Callbacks::openSocket, CURLOPT_OPENSOCKETDATA);
    set(CURLOPT_PREREQFUNCTION, &Callbacks::connected, CURLOPT_PREREQDATA);
    curl_easy_setopt(handle_.get(), CURLOPT_VERBOSE, 1L);  // without it the debug function is not called
}

// How many bytes of the body the library finds in the buffer, or what else is to become of them.
std::size_t Exchange::sendBody(char* buffer, std::size_t size) {
    RequestBody& body = *request_.body;
    const ByteCount wanted = std::min(static_cast<ByteCount>(size), body.left());
    ByteCount may = wanted;
    if (request_.bodyAllowance && wanted > 0) may = request_.bodyAllowance->take(wanted);
    isPaused_ = may == 0 && wanted > 0;
    if (isPaused_) {
        receiver_.didPauseBody();
        return CURL_READFUNC_PAUSE;
    }
    Result<std::size_t> count = body.read(buffer, static_cast<std::size_t>(may));
    if (count) return *count;
    refusal_ = std::move(count.error());
    return CURL_READFUNC_ABORT;
}

// The library hands on what it has kept before this returns, and reports a failure of that only here.
void Exchange::resume() {
    if (!std::exchange(isPaused_, false)) return;
    movedAtLastLook_ = -1;
    const CURLcode code = curl_easy_pause(handle_.get(), CURLPAUSE_CONT);
    if (code != CURLE_OK) didFinish(code);
}

void Exchange::didFinish(CURLcode code) {
    loop_.remove(*this);
    if (hasThrown_) return end(failure(memoryError(address_.host)));
    if (refusal_) return end(failure(std::move(*refusal_)));
    if (isHeadComplete_ && head_.isRedirect()) return follow();  // even where its body could not be read to the end
    if (code != CURLE_OK && mayMakeWay()) return sendAgain();
    if (code != CURLE_OK) return end(failure(describe(code)));
    if (hasExcess_) return end(failure(excessError(address_.host)));
    end({});
}

// Nothing was sent, as there was no file handle for a connection, and one that is kept for later can have its handle.
bool Exchange::mayMakeWay() {
    if (!lacksHandles() || isSent_) return false;
    return waysMade_++ < CurlLoop::connectionsPerHost && loop_.makeWay();
}

void Exchange::sendAgain() {
    if (Result<void> sent = send(); !sent) end(std::move(sent));
}

bool Exchange::lacksHandles() const {
    return openError_ == EMFILE || openError_ == ENFILE;
}

Error Exchange::describe(CURLcode code) const {
    // The library has a bound of its own for a header, and tells what is beyond like a lack of memory.
    constexpr ByteCount headerLimit = 100LL << 10;
    if (code == CURLE_OUT_OF_MEMORY && isSent_ && !isHeadComplete_)
        return oversizeError(address_.host, "a header of more than " + formatByteCount(headerLimit));
    return lacksHandles() ? handlesError(address_.host) : transportError(code, address_.host);
}

void Exchange::follow() {
    if (++redirects_ > redirectLimit) return end(failure(redirectLoopError(address_.host)));
    Result<Address> next = address_.redirected(head_.location);
    if (!next) return end(failure(next));

    const bool leavesOrigin = !next->hasOriginOf(address_);
    if (leavesOrigin && staysAtOrigin_) return end(failure(leavingError(address_.host)));
    if (leavesOrigin)
        std::erase_if(request_.headers,
                      [](const auto& header) { return equalIgnoringCase(header.first, "Authorization"); });
    const bool repeats = head_.status == 307 || head_.status == 308;
    if (!repeats && request_.body) dropBody();
    address_ = std::move(*next);
    sendAgain();
}

// The answer to what was sent lies elsewhere, and is asked for there (RFC 9110, section 15.4).
void Exchange::dropBody() {
    request_.body.reset();
    request_.method = "GET";
    std::erase_if(request_.headers, [](const auto& header) { return equalIgnoringCase(header.first, "Content-Type"); });
}

void Exchange::end(Result<void> result) {
    receiver_.didEnd(std::move(result));
}

void Exchange::tick(TimePoint now) {
    receiver_.tick(now);
    loop_.sockets().setPace(socket_, receiver_.pace());
    if (request_.body && request_.body->isFile() && (!request_.body->isAtEnd() || unsentBytes() > 0)) begin_ = now;
    if (request_.timeLimit && now - begin_ >= *request_.timeLimit)
        return giveUp(slownessError(address_.host, *request_.timeLimit));
    if (isUnwatched_) return giveUp(shortageError(address_.host));
    if (isHeadComplete_ && isUnwanted() && now - headEnd_ >= unwantedBodyTime) return didFinish(CURLE_OK);
    if (!hasBegun_ || isPaused_) return;
    const ByteCount moved = movedBytes();
    if (moved != movedAtLastLook_) {
        movedAtLastLook_ = moved;
        lastMovement_ = now;
    } else if (now - lastMovement_ >= request_.idleLimit) {
        giveUp(silenceError(address_.host, request_.idleLimit));
    }
}

void Exchange::didSleep() {
    if (hasBegun_) giveUp(sleepError(address_.host));
}

void Exchange::giveUp(Error why) {
    loop_.remove(*this);
    end(failure(std::move(why)));
}

// In both directions. What lies in the socket's send buffer has not moved yet, and that may be minutes of a slow line.
ByteCount Exchange::movedBytes() const {
    curl_off_t received = 0;
    curl_off_t sent = 0;
    long heads = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_DOWNLOAD_T, &received);
    curl_easy_getinfo(handle_.get(), CURLINFO_SIZE_UPLOAD_T, &sent);
    curl_easy_getinfo(handle_.get(), CURLINFO_HEADER_SIZE, &heads);
    return received + sent + heads - unsentBytes();
}

int Exchange::unsentBytes() const {
    int unsent = 0;
    if (request_.body && socket_ >= 0) ::ioctl(socket_, SIOCOUTQ, &unsent);
    return unsent;
}

}  // namespace tovri
