#include "service/signin/AuthManager.h"

#include <memory>
#include <utility>

#include "base/Trimmed.h"
#include "platform/Await.h"
#include "service/requests/QueryEncoding.h"
#include "service/requests/WebURL.h"
#include "service/signin/AuthError.h"
#include "service/signin/KeychainItem.h"
#include "service/signin/SignInRedirect.h"

namespace tovri {
namespace {

constexpr std::string_view placeholderClientID = "7316";

// None where the text, from whatever source, is no token.
std::optional<std::string> usable(const std::optional<std::string>& text) {
    const std::string_view token = trimmed(text ? std::string_view(*text) : std::string_view());
    return isAccessToken(token) ? std::optional<std::string>(token) : std::nullopt;
}

}  // namespace

AuthManager::AuthManager(CredentialStore& store, WebAuthentication& web, MainLoop& loop, ServiceHosts hosts)
    : store_(store), web_(web), loop_(loop), hosts_(std::move(hosts)) {
    clientID_ = load(store_, KeychainItem::clientID).value_or(std::string(placeholderClientID));
    token_ = usable(load(store_, KeychainItem::accessToken));
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
    Result<std::string> token = co_await requestToken(std::move(stop));
    if (!token) co_return failure(token);
    adopt(std::move(*token));
    co_return Result<void>();
}

Task<Result<std::string>> AuthManager::requestToken(std::stop_token stop) {
    Result<std::string> page = authorizationURL();
    if (!page) co_return failure(page);
    Result<std::optional<std::string>> redirect = co_await Answer<std::optional<std::string>>(
        loop_, std::move(stop),
        [&](auto done) { return web_.authenticate(*page, std::string(redirectScheme), std::move(done)); });
    if (!redirect) co_return failure(redirect);
    if (!*redirect) co_return failure(AuthError::noCallback());

    std::optional<std::string> token = tokenInRedirect(**redirect);
    if (!token) co_return failure(AuthError::noToken());
    co_return std::move(*token);
}

Result<void> AuthManager::signInWithToken(std::string_view token) {
    token = trimmed(token);
    if (!isAccessToken(token)) return failure(AuthError::noToken());
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
    wasRefused_ = false;
    forget();
}

void AuthManager::refuse() {
    wasRefused_ = true;
    forget();
}

Task<> AuthManager::takeOverStored(std::string refused, std::stop_token stop) {
    if (token_ != refused) co_return;
    Result<std::optional<std::string>> stored =
        co_await Answer<std::optional<std::string>>(loop_, std::move(stop), [&](auto done) {
            const auto shared = std::make_shared<decltype(done)>(std::move(done));
            store_.readAnew(accountName(KeychainItem::accessToken),
                            [open = std::weak_ptr(shared)](std::optional<std::string> value) {
                                if (const auto waiting = open.lock()) (*waiting)(std::move(value));
                            });
            return Subscription([shared] {});
        });
    std::optional<std::string> other = stored ? usable(*stored) : std::nullopt;
    if (other && *other != refused && token_ == refused) use(std::move(*other));
}

void AuthManager::forget() {
    token_.reset();
    account_.reset();
    const bool wasAuthenticated = std::exchange(isAuthenticated_, false);
    remove(store_, KeychainItem::accessToken);
    if (wasAuthenticated) changes_.tell(Change::isAuthenticated);
}

void AuthManager::adopt(std::string token) {
    save(store_, token, KeychainItem::accessToken);
    use(std::move(token));
}

void AuthManager::use(std::string token) {
    wasRefused_ = false;
    const bool differs = token_ != token;
    token_ = std::move(token);
    if (!std::exchange(isAuthenticated_, true))
        changes_.tell(Change::isAuthenticated);
    else if (differs)
        changes_.tell(Change::token);
}

}  // namespace tovri
