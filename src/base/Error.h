#pragma once

#include <string>
#include <utility>

#include "base/Bytes.h"
#include "base/RetryHints.h"

namespace tovri {

// What the program acts on when something fails. Everything else about a failure is its description.
enum class ErrorCase {
    cancelled,           // withdrawn by the program or the user; never shown as a failure
    notAuthenticated,    // no token, or the service refused it
    noClientID,          // sign-in without a registered client ID
    noCallback,          // sign-in page closed
    noToken,             // sign-in page answered without a token
    invalidURL,          // a request address cannot be formed
    invalidResponse,     // the answer is not HTTP
    invalidDownloadURL,  // the service's download link is unusable
    rateLimited,         // HTTP 429
    httpStatus,          // any other HTTP status outside 200 to 299; see Error::httpStatus
    decoding,            // an answer or a file is not the JSON that it should be
    transport,           // the connection failed, timed out or broke off
    alreadyExists,       // a file system entry stands where a new one should go
    diskFull,            // a file system has no room left
    inUse,               // another process holds it
    otherVolume,         // a folder is on another file system than before
    file,                // any other failure of the file system
    credentialStore,     // the secret store refused
    unproven,            // something is not to be destroyed before more is known to be safe
    turnedOff,           // the user's preferences say not to
};

// What happened to a connection, for whoever may ask again.
enum class TransportFault {
    none,          // nothing that asking again would mend by itself: the answer is at fault, or this computer
    unresolved,    // the host's name was not found
    unreachable,   // no connection came about: refused, no route, or no answer in time
    brokenOff,     // the connection ended before the answer did
    silent,        // it stood, and nothing came for too long, or not all of an answer
    machineSlept,  // given up here after this computer was asleep; a new one is worth trying at once
};

// A failure: which case it is, and the description that the user sees as it stands.
struct Error {
    ErrorCase code = ErrorCase::file;
    std::string description;
    int httpStatus = 0;                                    // with ErrorCase::httpStatus: the status code
    TransportFault transportFault = TransportFault::none;  // with ErrorCase::transport
    RetryHints retryHints;                                 // with ErrorCase::httpStatus and rateLimited
    ByteBlob resumeToken;  // with a broken transfer: how to go on, empty when there is no way

    Error(ErrorCase errorCase, std::string text) : code(errorCase), description(std::move(text)) {}

    // ErrorCase::transport.
    Error(TransportFault fault, std::string text)
        : code(ErrorCase::transport), description(std::move(text)), transportFault(fault) {}

    [[nodiscard]] bool isCancellation() const { return code == ErrorCase::cancelled; }

    [[nodiscard]] static Error cancelled() { return {ErrorCase::cancelled, "Cancelled."}; }
};

}  // namespace tovri
