// Addresses: those that end a sign-in, and those that the service's answers name.
#include <algorithm>

#include "fuzz/Fuzz.h"
#include "service/requests/WebURL.h"
#include "service/signin/SignInRedirect.h"

namespace {

using namespace tovri;
using fuzz::require;

void checkRedirect(std::string_view address) {
    if (isSignInRedirect(address)) require(address.size() >= redirectURI.size());
    const auto token = tokenInRedirect(address);
    if (!token) return;
    require(isAccessToken(*token));
    require(token->find('&') == std::string::npos);
    require(address.find("access_token=" + *token) != std::string_view::npos);
}

void checkWebURL(std::string_view text) {
    const auto url = parseWebURL(text);
    if (!url) return;
    require(url->scheme == "http" || url->scheme == "https");
    require(!url->host.empty());
    require(std::ranges::all_of(url->port, [](char c) { return c >= '0' && c <= '9'; }));
    const std::string whole = url->scheme + "://" + (url->userInfo.empty() ? "" : url->userInfo + "@") + url->host +
                              (url->port.empty() ? "" : ":" + url->port) + url->rest;
    require(std::ranges::none_of(whole, [](char c) { return (c >= '\0' && c <= ' ') || c == '\x7F'; }));
    const auto again = parseWebURL(whole);
    require(again && again->host == url->host && again->port == url->port && again->rest == url->rest);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const std::string_view text = fuzz::textOf(bytes, size);
    checkRedirect(text);
    checkWebURL(text);
    return 0;
}
