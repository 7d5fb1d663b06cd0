#include "screens/settings/SignInScreen.h"

#include "base/Trimmed.h"
#include "service/signin/AuthError.h"

namespace tovri {

SignInScreen::SignInScreen(AuthManager& auth, SignInGate& gate, Workspace& workspace, ServiceHosts hosts,
                           CountWaiting countWaiting)
    : auth_(auth),
      gate_(gate),
      workspace_(workspace),
      hosts_(std::move(hosts)),
      countWaiting_(std::move(countWaiting)),
      clientID_(auth.clientID()),
      followingAuth_(auth.onChange([this](AuthManager::Change change) { follow(change); })),
      followingGate_(gate.onRefused([this](const Error& error) { finish(error.description); })) {}

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

std::optional<std::string> SignInScreen::notice() const {
    if (!auth_.wasRefused()) return std::nullopt;
    std::string text = "put.io does not accept the sign-in any more.";
    const std::size_t waiting = countWaiting_ ? countWaiting_() : 0;
    if (waiting == 1) text += " 1 download waits for you to sign in again.";
    if (waiting > 1) text += " " + std::to_string(waiting) + " downloads wait for you to sign in again.";
    return text;
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
    gate_.expect();
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
    gate_.expectNoMore();
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
    if (!isSigningIn_) return;
    gate_.expect();  // the user is here, however long it took
    if (gate_.receive(trimmed(address))) return;
    addressError_ = AuthError::noToken().description;
    changes_.tell();
}

}  // namespace tovri
