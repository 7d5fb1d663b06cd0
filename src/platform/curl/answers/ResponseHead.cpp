#include "platform/curl/answers/ResponseHead.h"

#include "base/Trimmed.h"
#include "platform/curl/answers/ContentRange.h"
#include "platform/curl/answers/HeaderText.h"

namespace tovri {
namespace {

// A list may stand in one header or in several of the same name (RFC 9110, section 5.3).
void addCoding(std::string& list, std::string_view value) {
    if (equalIgnoringCase(value, "identity")) return;
    if (!list.empty()) list += ", ";
    list += value;
}

}  // namespace

void ResponseHead::read(std::string_view line) {
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) return;
    const std::string_view name = line.substr(0, colon);
    const std::string_view value = trimmed(line.substr(colon + 1));
    if (equalIgnoringCase(name, "Location")) location = value;
    if (equalIgnoringCase(name, "ETag")) entityTag = value;
    if (equalIgnoringCase(name, "Last-Modified")) lastModified = value;
    if (equalIgnoringCase(name, "Content-Range")) contentRange = value;
    if (equalIgnoringCase(name, "Content-Encoding")) addCoding(contentEncoding, value);
    if (equalIgnoringCase(name, "Transfer-Encoding")) addCoding(transferCoding, value);
    if (equalIgnoringCase(name, "Retry-After")) retryHints.retryAfter = value;
    if (equalIgnoringCase(name, "Date")) retryHints.date = value;
    if (equalIgnoringCase(name, "X-RateLimit-Reset")) retryHints.rateLimitReset = value;
    if (equalIgnoringCase(name, "Content-Length")) contentLength = parseByteCount(value);
}

bool ResponseHead::isRedirect() const {
    const bool sendsElsewhere = status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
    return sendsElsewhere && !location.empty();
}

// The weak tag of other bytes may be the same, so the date tells more.
AnswerHead ResponseHead::answer() const {
    const bool isStrong = entityTag.size() >= 2 && entityTag.front() == '"' && entityTag.back() == '"';
    return {.status = status,
            .bodyLength = bodyLength(),
            .contentRange = parseContentRange(contentRange),
            .contentEncoding = contentEncoding,
            .validator = isStrong ? entityTag : lastModified,
            .retryHints = retryHints};
}

}  // namespace tovri
