#include "service/AuthManager.h"

#include <algorithm>
#include <utility>

#include "base/Trimmed.h"
#include "platform/Await.h"
#include "service/AuthError.h"
#include "service/KeychainItem.h"
#include "service/QueryEncoding.h"
#include "service/WebURL.h"

namespace tovri {
namespace {

constexpr std::string_view placeholderClientID = "7316";
constexpr const char* callbackScheme = "tovri-putio";
constexpr std::string_view redirectURI = "tovri-putio://callback";

// A line break or blank inside would end the header that carries the token, or begin another.
bool fitsIntoHeader(std::string_view token) {
    return std::ranges::all_of(token, [](char c) { return c > ' ' && c < '\x7F'; });
}

// The value of "access_token" as it stands, without percent-decoding; a name without value does not count.
std::optional<std::string> tokenInFragment(std::string_view fragment) {
    constexpr std::string_view name = "access_token=";
    while (!fragment.empty()) {
        const std::string_view piece = fragment.substr(0, fragment.find('&'));
        if (piece.starts_with(name) && piece.size() > name.size() && fitsIntoHeader(piece))
            return std::string(piece.substr(name.size()));
        fragment.remove_prefix(std::min(piece.size() + 1, fragment.size()));
    }
    return std::nullopt;
}

std::optional<std::string> tokenInRedirect(std::string_view url) {
    const std::size_t hash = url.find('#');
    if (hash == std::string_view::npos) return std::nullopt;
    return tokenInFragment(url.substr(hash + 1));
}

}  // namespace

AuthManager::AuthManager(CredentialStore& store, WebAuthentication& web, MainLoop& loop, ServiceHosts hosts)
    : store_(store), web_(web), loop_(loop), hosts_(std::move(hosts)) {
    clientID_ = load(store_, KeychainItem::clientID).value_or(std::string(placeholderClientID));
    token_ = load(store_, KeychainItem::accessToken);
    isAuthenticated_ = token_.has_value();
}

bool AuthManager::needsClientID() const {
    return clientID_.empty() || clientID_ == placeholderClientID;
}

void AuthManager::saveClientID(std::string_view text) {
    std::string entered(trimmed(text));
    const bool differs = entered != clientID_;
    clientID_ = std::move(entered);
    save(store_, clientID_, KeychainItem::clientID);
    if (differs) changes_.tell(Change::clientID);
}

Result<std::string> AuthManager::authorizationURL() const {
    if (needsClientID()) return failure(AuthError::noClientID());
    std::string url =
        hosts_.api + "/v2/oauth2/authenticate?" +
        percentEncodedQuery({{"client_id", clientID_}, {"response_type", "token"}, {"redirect_uri", redirectURI}});
    if (!parseWebURL(url)) return failure(AuthError::invalidURL());
    return url;
}

Task<Result<void>> AuthManager::signIn(std::stop_token stop) {
    Result<std::string> page = authorizationURL();
    if (!page) co_return failure(page);
    Result<std::optional<std::string>> redirect = co_await Answer<std::optional<std::string>>(
        loop_, std::move(stop), [&](auto done) { return web_.authenticate(*page, callbackScheme, std::move(done)); });
    if (!redirect) co_return failure(redirect);
    if (!*redirect) co_return failure(AuthError::noCallback());

    std::optional<std::string> token = tokenInRedirect(**redirect);
    if (!token) co_return failure(AuthError::noToken());
    adopt(std::move(*token));
    co_return Result<void>();
}

Result<void> AuthManager::signInWithToken(std::string_view token) {
    token = trimmed(token);
    if (token.empty() || !fitsIntoHeader(token)) return failure(AuthError::noToken());
    adopt(std::string(token));
    return {};
}

bool AuthManager::handleCallback(std::string_view url) {
    std::optional<std::string> token = tokenInRedirect(url);
    if (!token) return false;
    adopt(std::move(*token));
    return true;
}

void AuthManager::signOut() {
    token_.reset();
    account_.reset();
    const bool wasAuthenticated = std::exchange(isAuthenticated_, false);
    remove(store_, KeychainItem::accessToken);
    if (wasAuthenticated) changes_.tell(Change::isAuthenticated);
}

void AuthManager::adopt(std::string token) {
    token_ = std::move(token);
    save(store_, *token_, KeychainItem::accessToken);
    if (!std::exchange(isAuthenticated_, true)) changes_.tell(Change::isAuthenticated);
}

}  // namespace tovri
