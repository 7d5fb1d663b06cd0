#include "platform/curl/answers/TransportError.h"

#include <cerrno>

#include <curl/curl.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tovri {
namespace {

std::string describe(int code, const std::string& host) {
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
            return "Could not find " + host + "; check the internet connection and retry.";
        case CURLE_COULDNT_RESOLVE_PROXY:
            return "Could not find the proxy server on the way to " + host + "; check the proxy settings and retry.";
        case CURLE_COULDNT_CONNECT:
            return "Could not connect to " + host + "; check the internet connection and retry.";
        case CURLE_OPERATION_TIMEDOUT:
            return "Could not connect to " + host + " in time; check the internet connection and retry.";
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_ISSUER_ERROR:
            return "The certificate of " + host +
                   " does not verify, so nothing was sent to it; check this computer's date and certificates and "
                   "retry.";
        case CURLE_SSL_CACERT_BADFILE:
            return "The file of trusted certificates cannot be read, so nothing was sent to " + host +
                   "; check CURL_CA_BUNDLE and SSL_CERT_FILE.";
        case CURLE_SSL_CONNECT_ERROR:
            return "Could not set up an encrypted connection with " + host + "; retry later.";
        case CURLE_PARTIAL_FILE:
            return host + " sent fewer bytes than it announced; retry.";
        case CURLE_GOT_NOTHING:
            return host + " closed the connection without an answer; retry.";
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return "The connection to " + host + " broke off; retry.";
        case CURLE_WRITE_ERROR:  // how what follows the packed bytes is told; nothing else ends a request so
        case CURLE_BAD_CONTENT_ENCODING:
            return host + " sent an answer that cannot be unpacked; retry later.";
        default:
            return std::string("The connection to ") + host +
                   " failed: " + curl_easy_strerror(static_cast<CURLcode>(code)) + "; retry.";
    }
}

std::string inSeconds(std::chrono::milliseconds time) {
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(time).count();
    return std::to_string(seconds) + (seconds == 1 ? " second" : " seconds");
}

bool isOutOfHandles() {
    const int handle = ::eventfd(0, EFD_CLOEXEC);
    if (handle < 0) return errno == EMFILE || errno == ENFILE;
    ::close(handle);
    return false;
}

// What also the lack of a file handle may look like: for the look-up, the trusted certificates or the library itself.
bool needsHandles(int code) {
    return code == CURLE_COULDNT_RESOLVE_HOST || code == CURLE_COULDNT_RESOLVE_PROXY || code == CURLE_COULDNT_CONNECT ||
           code == CURLE_SSL_CACERT_BADFILE || code == CURLE_FAILED_INIT || code == CURLE_OUT_OF_MEMORY;
}

TransportFault faultOf(int code) {
    switch (code) {
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_RESOLVE_PROXY:
            return TransportFault::unresolved;
        case CURLE_COULDNT_CONNECT:
        case CURLE_OPERATION_TIMEDOUT:  // while connecting: any other time is kept by whoever reads
            return TransportFault::unreachable;
        case CURLE_SSL_CONNECT_ERROR:  // how a connection that ends in the handshake is told, too
        case CURLE_PARTIAL_FILE:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
            return TransportFault::brokenOff;
        default:
            return TransportFault::none;
    }
}

}  // namespace

Error transportError(int code, const std::string& host) {
    if (code == CURLE_UNSUPPORTED_PROTOCOL || code == CURLE_WEIRD_SERVER_REPLY)
        return {ErrorCase::invalidResponse, host + " gave an answer that is not HTTP; retry later."};
    if (needsHandles(code) && isOutOfHandles()) return handlesError(host);
    if (code == CURLE_OUT_OF_MEMORY) return memoryError(host);
    return {faultOf(code), describe(code, host)};
}

Error silenceError(const std::string& host, std::chrono::milliseconds limit) {
    return {TransportFault::silent,
            "Nothing came from " + host + " for " + inSeconds(limit) + "; check the internet connection and retry."};
}

Error slownessError(const std::string& host, std::chrono::milliseconds limit) {
    return {TransportFault::silent,
            host + " took longer than " + inSeconds(limit) + " to answer; check the internet connection and retry."};
}

Error sleepError(const std::string& host) {
    return {TransportFault::machineSlept, "The connection to " + host + " ended when this computer slept; retry."};
}

Error oversizeError(const std::string& host, const std::string& what) {
    return {ErrorCase::transport, host + " sent " + what + ", which cannot be meant; retry later."};
}

Error encodingError(const std::string& host) {
    return {ErrorCase::transport, host + " sent an answer in an encoding that was not asked for; retry later."};
}

// It may have done before what it was asked for.
Error leavingError(const std::string& host) {
    return {ErrorCase::transport, host + " redirects to another server, and nothing was sent there; retry later."};
}

Error excessError(const std::string& host) {
    return {ErrorCase::transport, host + " sent more bytes than it announced; retry."};
}

Error memoryError(const std::string& host) {
    return {ErrorCase::transport,
            "This computer had no memory left for what " + host + " sent; close other programs and retry."};
}

Error handlesError(const std::string& host) {
    return {ErrorCase::transport, "This program had no file handle left to connect to " + host +
                                      "; close other programs, or allow it more open files, and retry."};
}

Error shortageError(const std::string& host) {
    return isOutOfHandles() ? handlesError(host) : memoryError(host);
}

Error redirectLoopError(const std::string& host) {
    return {ErrorCase::transport, host + " redirects too often; retry later."};
}

}  // namespace tovri
