#include "platform/curl/answers/Address.h"

#include <memory>
#include <utility>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>

namespace tovri {
namespace {

using URLHandle = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

URLHandle makeURL(const std::string& text) {
    URLHandle url(curl_url(), &curl_url_cleanup);
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) url.reset();
    return url;
}

std::string part(const URLHandle& url, CURLUPart which) {
    char* text = nullptr;
    if (curl_url_get(url.get(), which, &text, CURLU_DEFAULT_PORT) != CURLUE_OK) return {};
    std::string copy(text);
    curl_free(text);
    return copy;
}

std::string wholeText(const URLHandle& url) {
    char* text = nullptr;
    if (curl_url_get(url.get(), CURLUPART_URL, &text, CURLU_NO_DEFAULT_PORT) != CURLUE_OK) return {};
    std::string copy(text);
    curl_free(text);
    return copy;
}

Error invalid(std::string description) {
    return {ErrorCase::invalidURL, std::move(description)};
}

Result<Address> checked(const URLHandle& url) {
    Address address{wholeText(url), part(url, CURLUPART_SCHEME), part(url, CURLUPART_HOST), part(url, CURLUPART_PORT)};
    if (address.url.empty() || address.host.empty()) return failure(invalid("The address is not valid."));
    if (address.isSecure()) return address;
    if (address.scheme != "http") return failure(invalid("An address must begin with https://."));
    if (address.isLoopback()) return address;
    return failure(invalid("The address of " + address.host + " is not encrypted; use one that begins with https://."));
}

}  // namespace

bool Address::isLoopback() const {
    if (host == "localhost") return true;
    in_addr ip4{};
    if (inet_pton(AF_INET, host.c_str(), &ip4) == 1) return ntohl(ip4.s_addr) >> 24U == 127;
    if (host.size() < 2 || host.front() != '[' || host.back() != ']') return false;
    in6_addr ip6{};
    return inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(), &ip6) == 1 && IN6_IS_ADDR_LOOPBACK(&ip6) != 0;
}

Result<Address> Address::parse(const std::string& url) {
    const URLHandle parsed = makeURL(url);
    if (!parsed) return failure(invalid("The address is not valid."));
    return checked(parsed);
}

Result<Address> Address::redirected(const std::string& location) const {
    const URLHandle target = makeURL(url);
    if (!target || curl_url_set(target.get(), CURLUPART_URL, location.c_str(), CURLU_URLENCODE) != CURLUE_OK)
        return failure(invalid(host + " redirects to an address that is not valid; retry later."));
    for (const CURLUPart credential : {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_OPTIONS})
        curl_url_set(target.get(), credential, nullptr, 0);
    Result<Address> next = checked(target);
    if (next && isSecure() && !next->isSecure())
        return failure(invalid(host + " redirects to an address that is not encrypted; nothing was sent there."));
    return next;
}

}  // namespace tovri
