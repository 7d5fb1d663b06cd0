#pragma once

#include <string>
#include <utility>

#include "base/Bytes.h"

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
    otherVolume,         // a folder is on another file system than before
    file,                // any other failure of the file system
    credentialStore,     // the secret store refused
    unproven,            // something is not to be destroyed before more is known to be safe
    turnedOff,           // the user's preferences say not to
};

// A failure: which case it is, and the description that the user sees as it stands.
struct Error {
    ErrorCase code = ErrorCase::file;
    std::string description;
    int httpStatus = 0;    // with ErrorCase::httpStatus: the status code
    ByteBlob resumeToken;  // with a broken transfer: how to go on, empty when there is no way

    Error(ErrorCase errorCase, std::string text) : code(errorCase), description(std::move(text)) {}

    [[nodiscard]] bool isCancellation() const { return code == ErrorCase::cancelled; }

    [[nodiscard]] static Error cancelled() { return {ErrorCase::cancelled, "Cancelled."}; }
};

}  // namespace tovri
