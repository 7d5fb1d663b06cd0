#include "screens/settings/SignInScreen.h"

#include "base/Trimmed.h"
#include "service/AuthError.h"

namespace tovri {

SignInScreen::SignInScreen(AuthManager& auth, Workspace& workspace, ServiceHosts hosts)
    : auth_(auth),
      workspace_(workspace),
      hosts_(std::move(hosts)),
      clientID_(auth.clientID()),
      followingAuth_(auth.onChange([this](AuthManager::Change change) { follow(change); })) {}

void SignInScreen::appear() {
    clientID_ = auth_.clientID();
    changes_.tell();
}

void SignInScreen::disappear() {
    isChangingClientID_ = false;
    finish(std::nullopt);
}

// However the token came: what this screen waits for is over.
void SignInScreen::follow(AuthManager::Change change) {
    if (change == AuthManager::Change::isAuthenticated && auth_.isAuthenticated())
        finish(std::nullopt);
    else
        changes_.tell();
}

// --- The client ID ---

std::string SignInScreen::setupHint() const {
    return "Create an application at " + applicationPage() +
           " to obtain a client ID.\nSet its redirect URI to tovri-putio://callback";
}

bool SignInScreen::canSaveClientID() const {
    return clientID_.find_first_not_of(" \t") != std::string::npos;
}

void SignInScreen::setClientID(std::string text) {
    if (clientID_ == text) return;
    clientID_ = std::move(text);
    changes_.tell();
}

void SignInScreen::saveClientID() {
    if (!canSaveClientID()) return;
    isChangingClientID_ = false;
    auth_.saveClientID(clientID_);
    changes_.tell();
}

void SignInScreen::changeClientID() {
    clientID_ = auth_.clientID();
    isChangingClientID_ = true;
    changes_.tell();
}

// --- Signing in ---

void SignInScreen::signIn() {
    if (!canSignIn()) return;
    isSigningIn_ = true;
    error_.reset();
    addressError_.reset();
    attempt_ = std::stop_source();
    changes_.tell();
    scope_.start(signIn(attempt_.get_token()));
}

Task<> SignInScreen::signIn(std::stop_token attempt) {
    const Result<void> signedIn = co_await auth_.signIn(attempt);
    if (attempt.stop_requested()) co_return;
    finish(signedIn ? std::nullopt : std::optional(signedIn.error().description));
}

void SignInScreen::finish(std::optional<std::string> error) {
    attempt_.request_stop();
    isSigningIn_ = false;
    error_ = std::move(error);
    addressError_.reset();
    changes_.tell();
}

void SignInScreen::cancel() {
    if (isSigningIn_) finish(AuthError::noCallback().description);
}

void SignInScreen::openPageAgain() {
    if (!isSigningIn_) return;
    if (const Result<std::string> page = auth_.authorizationURL()) workspace_.openWebAddress(*page);
}

void SignInScreen::submitAddress(std::string_view address) {
    if (!isSigningIn_ || auth_.handleCallback(trimmed(address))) return;
    addressError_ = AuthError::noToken().description;
    changes_.tell();
}

}  // namespace tovri
