#pragma once

#include <string>

#include "base/Result.h"

namespace tovri {

// Where a request goes. Every one has passed the rules for addresses: http and https only, and http only to this
// machine itself, where nobody can listen in.
struct Address {
    std::string url;  // may hold a secret in its query: not for messages
    std::string scheme;
    std::string host;  // for messages
    std::string port;

    [[nodiscard]] bool isSecure() const { return scheme == "https"; }

    [[nodiscard]] bool hasOriginOf(const Address& other) const {
        return scheme == other.scheme && host == other.host && port == other.port;
    }

    // Whether the host is this machine, by its name or address alone.
    [[nodiscard]] bool isLoopback() const;

    // ErrorCase::invalidURL for what is no address or against the rules.
    [[nodiscard]] static Result<Address> parse(const std::string& url);

    // Where a redirect leads from here: never from https to http, and without the name and the password that it may
    // bring along.
    [[nodiscard]] Result<Address> redirected(const std::string& location) const;
};

}  // namespace tovri
