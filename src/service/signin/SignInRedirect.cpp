#include "service/signin/SignInRedirect.h"

#include <algorithm>

#include "service/requests/ASCII.h"

namespace tovri {
namespace {

std::optional<std::string> tokenInFragment(std::string_view fragment) {
    constexpr std::string_view name = "access_token=";
    while (!fragment.empty()) {
        const std::string_view piece = fragment.substr(0, fragment.find('&'));
        if (piece.starts_with(name) && isAccessToken(piece.substr(name.size())))
            return std::string(piece.substr(name.size()));
        fragment.remove_prefix(std::min(piece.size() + 1, fragment.size()));
    }
    return std::nullopt;
}

}  // namespace

bool isAccessToken(std::string_view text) {
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7F'; });
}

// Scheme and host know no case (RFC 3986, section 6.2.2.1).
bool isSignInRedirect(std::string_view address) {
    if (asciiLowercased(address.substr(0, redirectURI.size())) != redirectURI) return false;
    const std::string_view rest = address.substr(redirectURI.size());
    return rest.empty() || rest.front() == '#' || rest.front() == '?';
}

std::optional<std::string> tokenInRedirect(std::string_view address) {
    const std::size_t hash = address.find('#');
    if (hash == std::string_view::npos) return std::nullopt;
    return tokenInFragment(address.substr(hash + 1));
}

}  // namespace tovri
