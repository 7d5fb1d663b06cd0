#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tovri {

// The address to which the service's sign-in page sends the browser: text from outside, which any program and any web
// page can make up.

inline constexpr std::string_view redirectScheme = "tovri-putio";
inline constexpr std::string_view redirectURI = "tovri-putio://callback";

// Whether the text can stand in a request header as a token: a blank, a line break or a control character would end the
// header, or begin another.
[[nodiscard]] bool isAccessToken(std::string_view text);

// Whether the address is that of the redirect, whatever it carries behind it.
[[nodiscard]] bool isSignInRedirect(std::string_view address);

// The first "access_token" of the address's fragment, as it stands, without percent-decoding; one without a value, or
// with one that is no token, does not count.
[[nodiscard]] std::optional<std::string> tokenInRedirect(std::string_view address);

}  // namespace tovri
