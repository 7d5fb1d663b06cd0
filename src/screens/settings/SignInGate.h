#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/DiagnosticLog.h"
#include "platform/MainLoop.h"
#include "service/records/AccountInfo.h"
#include "service/signin/AuthManager.h"

namespace tovri {

// What becomes of an address that reaches the program as the redirect of put.io's sign-in page: any web page can open
// such a one, with a token for an account of its choice. Nothing is signed in before its account has been looked up,
// and the user is asked unless a sign-in waits for it and it is the account that was used here last.
class SignInGate {
public:
    // How long a sign-in waits for its redirect.
    static constexpr std::chrono::minutes patience{15};

    struct Question {
        static constexpr const char* confirmLabel = "Sign In";
        static constexpr const char* cancelLabel = "Ignore";

        std::string title;
        std::string text;
    };

    enum class Choice : std::uint8_t { signIn, ignore };

    // All outlive the gate.
    SignInGate(AuthManager& auth, AccountInfo& account, MainLoop& loop, DiagnosticLog& log)
        : auth_(auth), account_(account), loop_(loop), log_(log) {}

    // A sign-in waits from now on, until it is over or its patience is.
    void expect();

    void expectNoMore() { waiting_.reset(); }

    // Anything else than the redirect with a token is dropped with a line. Whether it was not.
    bool receive(std::string_view address);

    // None while nothing is asked.
    [[nodiscard]] const std::optional<Question>& question() const { return question_; }

    void answer(Choice choice);

    // Told when another question, or none, is asked.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

    // Told why an address that a sign-in waited for is good for nothing.
    Subscription onRefused(std::function<void(const Error&)> tell) { return refused_.subscribe(std::move(tell)); }

private:
    enum class Origin : std::uint8_t { awaited, unasked };

    Task<> judge(std::string address, Origin origin, std::stop_token stop);
    void ask(std::string address, PutIOAccount account, Origin origin);
    void take(const std::string& address, const std::optional<PutIOAccount>& account);
    bool drop(std::string_view reason);

    AuthManager& auth_;
    AccountInfo& account_;
    MainLoop& loop_;
    DiagnosticLog& log_;
    Subscription waiting_;  // active while a sign-in waits
    std::optional<std::stop_source> judging_;
    std::optional<Question> question_;
    std::string asked_;  // the address that the question is about
    std::optional<PutIOAccount> askedAccount_;
    Signal<> changes_;
    Signal<const Error&> refused_;
    TaskScope scope_;
};

}  // namespace tovri
