#pragma once

#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/Workspace.h"
#include "screens/settings/SignInGate.h"
#include "service/requests/ServiceHosts.h"
#include "service/signin/AuthManager.h"

namespace tovri {

// What the main window shows while nobody is signed in: the client ID, and the way to put.io's sign-in page. Since
// nobody tells when that page is closed, the user can call the wait off, open the page again, or paste the address at
// which it ended.
class SignInScreen {
public:
    static constexpr std::string_view symbol = "arrow.down.circle.fill";  // at 72 points, in the brand's colour
    static constexpr const char* name = "Tovri";
    static constexpr const char* tagline = "Download manager for put.io";
    static constexpr std::string_view errorSymbol = "exclamationmark.triangle";

    // Says how many downloads wait for somebody to sign in.
    using CountWaiting = std::function<std::size_t()>;

    // All outlive the screen.
    SignInScreen(AuthManager& auth, SignInGate& gate, Workspace& workspace, ServiceHosts hosts,
                 CountWaiting countWaiting);

    void appear();
    void disappear();

    // --- The client ID ---

    static constexpr const char* setupHeadline = "put.io OAuth Client ID";
    static constexpr const char* clientIDPrompt = "Client ID";
    static constexpr const char* saveLabel = "Save";
    static constexpr const char* changeClientIDLabel = "Change Client ID";

    // Whether the block of the client ID is shown: headline, hint, field and button.
    [[nodiscard]] bool showsClientIDSetup() const { return auth_.needsClientID() || isChangingClientID_; }

    // Two lines.
    [[nodiscard]] std::string setupHint() const;

    // Where put.io gives out client IDs.
    [[nodiscard]] std::string applicationPage() const { return hosts_.web + "/oauth"; }

    [[nodiscard]] const std::string& clientID() const { return clientID_; }

    [[nodiscard]] bool canSaveClientID() const;

    [[nodiscard]] bool showsChangeClientID() const { return !showsClientIDSetup(); }

    void openApplicationPage() { workspace_.openWebAddress(applicationPage()); }

    void setClientID(std::string text);
    void saveClientID();
    void changeClientID();

    // --- Signing in ---

    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* openAgainLabel = "Open the Page Again";
    static constexpr const char* addressPrompt = "Or paste the address that begins with tovri-putio:";
    static constexpr const char* continueLabel = "Continue";

    // While the page is open. What can be done meanwhile is shown then: cancelling, opening it again, pasting.
    [[nodiscard]] bool isSigningIn() const { return isSigningIn_; }

    // Of the button, which has a small turning sign while isSigningIn().
    [[nodiscard]] const char* signInLabel() const { return isSigningIn_ ? "Signing in..." : "Sign in with put.io"; }

    [[nodiscard]] bool canSignIn() const { return !isSigningIn_ && !auth_.needsClientID(); }

    // Why the last attempt failed.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

    // Why this screen is there although nobody signed out, and how many downloads wait; below all others.
    [[nodiscard]] std::optional<std::string> notice() const;

    // What is wrong with the address that was pasted last; under its field.
    [[nodiscard]] const std::optional<std::string>& addressError() const { return addressError_; }

    void signIn();
    void cancel();
    void openPageAgain();

    // What was pasted.
    void submitAddress(std::string_view address);

    // Told after any of the above differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void follow(AuthManager::Change change);
    void finish(std::optional<std::string> error);
    Task<> signIn(std::stop_token attempt);

    AuthManager& auth_;
    SignInGate& gate_;
    Workspace& workspace_;
    ServiceHosts hosts_;
    CountWaiting countWaiting_;
    std::string clientID_;
    bool isChangingClientID_ = false;
    bool isSigningIn_ = false;
    std::optional<std::string> error_;
    std::optional<std::string> addressError_;
    std::stop_source attempt_;
    Signal<> changes_;
    Subscription followingAuth_;
    Subscription followingGate_;
    TaskScope scope_;
};

}  // namespace tovri
