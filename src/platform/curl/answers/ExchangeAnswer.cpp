// Exchange's reading of its answer.
#include <sys/socket.h>

#include "base/ByteCountFormat.h"
#include "base/Trimmed.h"
#include "platform/curl/Exchange.h"
#include "platform/curl/answers/HeaderText.h"
#include "platform/curl/answers/TransportError.h"

namespace tovri {
namespace {

constexpr ByteCount headLimit = 256LL << 10;  // with what comes before the answer's own head and after its body
// A longer body that nobody wants costs more to read than a new connection does.
constexpr ByteCount unwantedBodyLimit = 64LL << 10;

}  // namespace

bool Exchange::readHeaderLine(std::string_view line) {
    headLength_ += static_cast<ByteCount>(line.size());
    if (headLength_ > headLimit)
        return refuse(oversizeError(address_.host, "headers of more than " + formatByteCount(headLimit)));
    if (isHeadComplete_) return true;  // a trailer
    if (line.starts_with("HTTP/")) {
        head_ = {};
    } else if (trimmed(line).empty()) {
        return readHeadEnd();
    } else {
        head_.read(line);
    }
    return true;
}

bool Exchange::readHeadEnd() {
    long status = 0;
    curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status < 200) return true;  // the answer proper is yet to come
    head_.status = static_cast<int>(status);
    isHeadComplete_ = true;
    headEnd_ = std::chrono::steady_clock::now();
    if (!hasKnownCodings()) return refuse(encodingError(address_.host));
    if (!head_.isRedirect()) {
        Result<void> accepted = receiver_.didReceiveHead(head_);
        if (accepted) return true;
        refusal_ = std::move(accepted.error());
    }
    return head_.bodyLength() ? *head_.bodyLength() <= unwantedBodyLimit : !head_.transferCoding.empty();
}

// The library takes bodies apart that were packed in other ways than they were asked for.
bool Exchange::hasKnownCodings() const {
    if (!head_.transferCoding.empty() && !equalIgnoringCase(head_.transferCoding, "chunked")) return false;
    const std::string& packing = head_.contentEncoding;
    return !request_.acceptsCompression || packing.empty() || equalIgnoringCase(packing, "gzip") ||
           equalIgnoringCase(packing, "x-gzip");
}

// To be returned to the library, which then ends the request.
bool Exchange::refuse(Error why) {
    refusal_ = std::move(why);
    return false;
}

// How many of the bytes the library may count as taken, or what else is to become of them.
std::size_t Exchange::readBody(std::string_view bytes) {
    const ByteCount read = bodyRead_ + static_cast<ByteCount>(bytes.size());
    if (isUnwanted() && read > unwantedBodyLimit) return CURL_WRITEFUNC_ERROR;
    if (request_.bodyLimit && read > *request_.bodyLimit) {
        refusal_ = oversizeError(address_.host, "more than " + formatByteCount(*request_.bodyLimit));
        return CURL_WRITEFUNC_ERROR;
    }
    if (!isUnwanted() && !bytes.empty()) {
        Result<BodyFlow> flow = receiver_.didReceiveBytes(bytes);
        if (!flow) {
            refusal_ = std::move(flow.error());
            return CURL_WRITEFUNC_ERROR;
        }
        isPaused_ = *flow == BodyFlow::pauses;
        if (isPaused_) return CURL_WRITEFUNC_PAUSE;
    }
    bodyRead_ = read;
    if (!hasExcess_ && hasExcess()) {
        hasExcess_ = true;
        curl_easy_setopt(handle_.get(), CURLOPT_FORBID_REUSE, 1L);  // the next answer would begin with the excess
    }
    return bytes.size();
}

// The library silently leaves what follows the announced length: in the read that held the head, or in the socket. To
// be asked while the body arrives: later the connection may already carry another exchange's answer.
bool Exchange::hasExcess() const {
    const std::optional<ByteCount> announced = head_.bodyLength();
    if (!announced || bodyOnWire_ < *announced) return false;
    if (bodyOnWire_ > *announced) return true;
    const bool mayFollow = bodyRead_ < *announced && !request_.acceptsCompression;
    if (mayFollow || address_.isSecure()) return false;
    char byte = 0;
    return socket_ >= 0 && ::recv(socket_, &byte, 1, MSG_PEEK | MSG_DONTWAIT) > 0;
}

}  // namespace tovri
