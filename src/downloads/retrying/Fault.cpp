#include "downloads/retrying/Fault.h"

#include <algorithm>
#include <array>

#include "downloads/retrying/RetryAfter.h"

namespace tovri {
namespace {

// An error's description up to what it advises, as a part of a sentence.
std::string reasonOf(const std::string& description) {
    std::string reason = description.substr(0, description.find(';'));
    if (reason.ends_with('.')) reason.pop_back();
    if (!reason.empty() && reason.front() >= 'A' && reason.front() <= 'Z')
        reason.front() = static_cast<char>(reason.front() - 'A' + 'a');
    return reason;
}

std::optional<Fault> faultOfConnection(const Error& error) {
    Fault fault{.reason = reasonOf(error.description)};
    switch (error.transportFault) {
        case TransportFault::none:
            return std::nullopt;
        case TransportFault::unresolved:
        case TransportFault::unreachable:
            fault.blame = Fault::Blame::host;
            break;
        case TransportFault::brokenOff:
        case TransportFault::silent:
            break;
        case TransportFault::machineSlept:
            fault.isOver = true;
            break;
    }
    return fault;
}

std::optional<Fault> faultOfStatus(int status, const RetryHints& hints) {
    Fault fault{.reason = "HTTP error " + std::to_string(status), .hasAnswered = true};
    switch (status) {
        case 429:
            fault.blame = Fault::Blame::host;
            fault.isRefusedForPace = true;
            break;
        case 502:
        case 503:
        case 504:
            fault.blame = Fault::Blame::perhapsHost;
            break;
        case 408:
        case 425:
        case 500:
            break;
        default:
            return std::nullopt;
    }
    fault.comeBack = retryAfter(hints, fault.isRefusedForPace ? Refusal::tooManyRequests : Refusal::other);
    return fault;
}

}  // namespace

std::optional<Fault> faultOf(const Error& error) {
    switch (error.code) {
        case ErrorCase::rateLimited:
            return faultOfStatus(429, error.retryHints);
        case ErrorCase::httpStatus:
            return faultOfStatus(error.httpStatus, error.retryHints);
        case ErrorCase::transport:
            return faultOfConnection(error);
        default:
            return std::nullopt;
    }
}

bool isExpiredLink(const Error& error) {
    constexpr std::array statuses = {401, 403, 404, 410};
    return error.code == ErrorCase::httpStatus && std::ranges::find(statuses, error.httpStatus) != statuses.end();
}

}  // namespace tovri
