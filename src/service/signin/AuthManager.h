#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

#include "base/Result.h"
#include "base/Signal.h"
#include "base/Task.h"
#include "platform/CredentialStore.h"
#include "platform/MainLoop.h"
#include "platform/WebAuthentication.h"
#include "service/records/PutIOAccount.h"
#include "service/requests/ServiceHosts.h"

namespace tovri {

// Who is signed in: the access token and the user's OAuth client ID, both kept in the credential store, from which they
// come back at construction. Signs in by the service's OAuth page (implicit grant, RFC 6749, section 4.2).
class AuthManager {
public:
    enum class Change {
        isAuthenticated,
        token,  // another one in its place, while somebody stays signed in
        clientID,
    };

    // `store`, `web` and `loop` outlive the manager.
    AuthManager(CredentialStore& store, WebAuthentication& web, MainLoop& loop, ServiceHosts hosts);

    [[nodiscard]] bool isAuthenticated() const { return isAuthenticated_; }

    [[nodiscard]] const std::optional<PutIOAccount>& account() const { return account_; }

    [[nodiscard]] const std::optional<std::string>& token() const { return token_; }

    [[nodiscard]] const std::string& clientID() const { return clientID_; }

    // Whether the client ID is still empty or the placeholder.
    [[nodiscard]] bool needsClientID() const;

    // Keeps the text without white space and line breaks at its ends.
    void saveClientID(std::string_view text);

    // The address of the service's authorisation page; `noClientID` or `invalidURL`.
    [[nodiscard]] Result<std::string> authorizationURL() const;

    // Opens the authorisation page and waits for its redirect. Fails with an AuthError or what the web session reports;
    // a failure changes nothing.
    Task<Result<void>> signIn(std::stop_token stop);

    // The same up to the token, which it does not take: for whoever wants to know first whose it is.
    Task<Result<std::string>> requestToken(std::stop_token stop);

    // Signs in with a token that the user already has; white space at its ends is dropped. `noToken` when nothing is
    // left that could stand in a request header.
    Result<void> signInWithToken(std::string_view token);

    // Takes the token from a redirect that reached the program by another way; one without a token is ignored. Whether
    // there was one.
    bool handleCallback(std::string_view url);

    // Forgets the token, also in the store. The client ID stays.
    void signOut();

    // The service does not accept the token. Where the store has another one by now, that one is taken over; it stays
    // to be seen whether it is accepted.
    Task<> takeOverStored(std::string refused, std::stop_token stop);

    // Signs out because the service does not accept the token.
    void refuse();

    // Whether that is why nobody is signed in.
    [[nodiscard]] bool wasRefused() const { return wasRefused_; }

    // Told after the state is consistent, only when the value differs.
    Subscription onChange(std::function<void(Change)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void adopt(std::string token);
    void use(std::string token);
    void forget();

    CredentialStore& store_;
    WebAuthentication& web_;
    MainLoop& loop_;
    ServiceHosts hosts_;
    bool isAuthenticated_ = false;
    bool wasRefused_ = false;
    std::optional<PutIOAccount> account_;
    std::optional<std::string> token_;
    std::string clientID_;
    Signal<Change> changes_;
};

}  // namespace tovri
