#include "service/requests/WebURL.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "service/requests/ASCII.h"

namespace tovri {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHostCharacter(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'z') || c == '-' || c == '.' || c == '_';
}

bool isAddressCharacter(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || c == ':' || c == '.';
}

bool cannotBeSent(char c) {
    return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
}

bool isHost(std::string_view host) {
    if (host.starts_with('['))
        return host.size() > 2 && host.ends_with(']') &&
               std::ranges::all_of(host.substr(1, host.size() - 2), isAddressCharacter);
    return !host.empty() && std::ranges::all_of(host, isHostCharacter);
}

bool isPort(std::string_view port) {
    std::uint16_t number = 0;
    const auto [end, fault] = std::from_chars(port.data(), port.data() + port.size(), number);
    return fault == std::errc() && end == port.data() + port.size() && number != 0;
}

// Where the port's colon stands in "host:port"; npos without one. Colons inside brackets belong to the host.
std::size_t portColon(std::string_view hostAndPort) {
    const std::size_t colon = hostAndPort.rfind(':');
    const std::size_t bracket = hostAndPort.rfind(']');
    return bracket != std::string_view::npos && colon != std::string_view::npos && colon < bracket
               ? std::string_view::npos
               : colon;
}

bool isIPv4Loopback(std::string_view host) {
    int dots = 0;
    std::size_t begin = 0;
    for (std::size_t i = 0; i <= host.size(); ++i) {
        if (i < host.size() && isDigit(host[i])) continue;
        if (i == begin || i - begin > 3 || (i < host.size() && host[i] != '.')) return false;
        dots += i < host.size() ? 1 : 0;
        begin = i + 1;
    }
    return dots == 3 && host.starts_with("127.");
}

}  // namespace

bool WebURL::isLoopback() const {
    return host == "localhost" || host == "[::1]" || isIPv4Loopback(host);
}

std::optional<WebURL> parseWebURL(std::string_view text) {
    if (std::ranges::any_of(text, cannotBeSent)) return std::nullopt;
    const std::size_t colon = text.find("://");
    if (colon == std::string_view::npos) return std::nullopt;
    WebURL url;
    url.scheme = asciiLowercased(text.substr(0, colon));
    if (url.scheme != "http" && url.scheme != "https") return std::nullopt;
    text.remove_prefix(colon + 3);

    const std::size_t authorityEnd = std::min(text.find_first_of("/?#"), text.size());
    std::string_view authority = text.substr(0, authorityEnd);
    url.rest = text.substr(authorityEnd);
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
        url.userInfo = authority.substr(0, at);
        authority.remove_prefix(at + 1);
    }
    if (const std::size_t separator = portColon(authority); separator != std::string_view::npos) {
        url.port = authority.substr(separator + 1);
        authority = authority.substr(0, separator);
        if (!isPort(url.port)) return std::nullopt;
    }
    url.host = asciiLowercased(authority);
    if (url.userInfo.contains('\\') || !isHost(url.host)) return std::nullopt;
    return url;
}

}  // namespace tovri
