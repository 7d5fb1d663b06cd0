// What a server says above an answer's body, line by line: where it redirects to, which bytes it sends, when to come
// back.
#include <algorithm>
#include <ranges>
#include <string>

#include "downloads/retrying/RetryAfter.h"
#include "fuzz/Fuzz.h"
#include "platform/curl/answers/Address.h"
#include "platform/curl/answers/ContentRange.h"
#include "platform/curl/answers/ResponseHead.h"

namespace {

using namespace tovri;
using fuzz::require;

void checkRedirect(const std::string& location) {
    static const Result<Address> here = Address::parse("https://api.put.io:8443/v2/files?oauth_token=x");
    const Result<Address> there = here->redirected(location);
    if (!there) return;
    require(there->isSecure() && there->url.starts_with("https://") && !there->host.empty());
    const std::string authority = there->url.substr(8, there->url.find_first_of("/?#", 8) - 8);
    require(!authority.contains('@'));
    require(std::ranges::none_of(there->url, [](char c) { return (c >= '\0' && c <= ' ') || c == '\x7F'; }));
}

void checkRange(std::string_view value) {
    const auto range = parseContentRange(value);
    if (range) require(range->first >= 0 && range->first <= range->last && range->last < range->length);
}

void checkPause(const RetryHints& hints) {
    for (const Refusal refusal : {Refusal::tooManyRequests, Refusal::other})
        if (const auto pause = retryAfter(hints, refusal)) require(pause->count() >= 0 && *pause <= longestRetryAfter);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text = fuzz::textOf(bytes, size);
    ResponseHead head;
    for (const auto line : std::views::split(text, '\n')) head.read({line.begin(), line.end()});
    require(head.bodyLength().value_or(0) >= 0);
    checkRedirect(head.location);
    checkRedirect(std::string(text));
    checkRange(head.contentRange);
    checkRange(text);
    checkPause(head.retryHints);
    return 0;
}
