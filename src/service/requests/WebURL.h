#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// The parts of an http or https address (RFC 3986, section 3).
struct WebURL {
    std::string scheme;    // "http" or "https"
    std::string userInfo;  // "user:password", mostly empty
    std::string host;      // in lower case, an IPv6 address with its brackets
    std::string port;      // digits, or empty
    std::string rest;      // path, query and fragment

    // Whether the host is this machine by its very name.
    [[nodiscard]] bool isLoopback() const;
};

// None for another scheme, a missing or malformed host or port, and for text with blanks or control characters, which
// no request can carry.
[[nodiscard]] std::optional<WebURL> parseWebURL(std::string_view text);

}  // namespace tovri
