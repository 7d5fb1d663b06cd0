#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "base/Result.h"
#include "base/Signal.h"
#include "base/Task.h"
#include "base/TaskScope.h"
#include "platform/HTTPSession.h"
#include "platform/Platform.h"
#include "platform/UserDefaults.h"
#include "service/records/PutIOAccount.h"
#include "service/requests/ServiceHosts.h"
#include "service/signin/AuthManager.h"

namespace tovri {

// Whose account an access token opens, and what is in it. Its requests sign nobody out. The name of the account that
// was used last is kept with the preferences, together with enough of its token to know that again, so that a program
// that starts knows without a request whose account it works in.
class AccountInfo {
public:
    static constexpr std::chrono::minutes freshness{4};

    // All that is named outlives this.
    AccountInfo(AuthManager& auth, HTTPSession& session, const Platform& platform, const ServiceHosts& hosts,
                UserDefaults& defaults);

    // Of any token. `notAuthenticated` when the service does not accept it.
    Task<Result<PutIOAccount>> lookUp(std::string token, std::stop_token stop);

    // Of who is signed in, from memory where that is fresh.
    Task<Result<PutIOAccount>> refresh(std::stop_token stop);

    // The same in a task of its own; a failure is tried again as long as the account has no name here.
    void refreshSoon();

    // Somebody looks at it: asked now and often enough that it is five minutes old at most.
    void beginWatching();

    void endWatching() { watching_.reset(); }

    // Of who is signed in, as the service said last; none before it did.
    [[nodiscard]] const std::optional<PutIOAccount>& known() const { return known_; }

    // The name of the account that is signed in, where that is known, also from an earlier process.
    [[nodiscard]] std::optional<std::string> name() const;

    // The name of the account that was used last.
    [[nodiscard]] std::optional<std::string> lastName() const;

    // The token is in use from now on, and this is its account.
    void remember(const std::string& token, const PutIOAccount& account);

    // Told when what is known differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    Task<> refreshUntilNamed(std::stop_token stop);
    void follow();

    AuthManager& auth_;
    HTTPSession& session_;
    Platform platform_;
    std::string address_;
    UserDefaults& defaults_;
    std::optional<PutIOAccount> known_;
    std::optional<std::string> token_;  // for which it is known
    std::optional<MainLoop::TimePoint> askedAt_;
    bool isRefreshing_ = false;
    Subscription retry_;
    Subscription watching_;
    Signal<> changes_;
    Subscription following_;
    TaskScope scope_;
};

// "alice · 1.2 GB used · 3 GB free": the name, and of the space what the service tells.
[[nodiscard]] std::string accountText(const PutIOAccount& account);

// What is left of the space; none where the service does not tell, or tells what makes no sense.
[[nodiscard]] std::optional<ByteCount> freeSpace(const PutIOAccount& account);

}  // namespace tovri
