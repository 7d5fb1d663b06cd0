#include "screens/settings/SignInGate.h"

#include <utility>

#include "service/signin/SignInRedirect.h"

namespace tovri {

void SignInGate::expect() {
    waiting_ = loop_.schedule(patience, [this] { waiting_.reset(); });
}

bool SignInGate::receive(std::string_view address) {
    if (!isSignInRedirect(address)) return drop("it is none of the sign-in page");
    if (!tokenInRedirect(address)) return drop("it holds no access token");
    const Origin origin = waiting_.isActive() ? Origin::awaited : Origin::unasked;
    if (origin == Origin::unasked && (judging_ || question_)) return drop("another one is being decided on");
    if (judging_) judging_->request_stop();
    judging_.emplace();
    scope_.start(judge(std::string(address), origin, judging_->get_token()));
    return true;
}

Task<> SignInGate::judge(std::string address, Origin origin, std::stop_token stop) {
    Result<PutIOAccount> account = co_await account_.lookUp(*tokenInRedirect(address), stop);
    if (stop.stop_requested()) co_return;
    judging_.reset();
    const bool isRefused = !account && account.error().code == ErrorCase::notAuthenticated;
    if (!account && (isRefused || origin == Origin::unasked)) {
        drop("its account could not be looked up: " + account.error().description);
        if (origin == Origin::awaited) refused_.tell(account.error());
        co_return;
    }
    if (!account) co_return take(address, std::nullopt);
    const std::optional<std::string> last = account_.lastName();
    const bool isUsual = origin == Origin::awaited && (!last || *last == account->username);
    isUsual ? take(address, *account) : ask(std::move(address), std::move(*account), origin);
}

void SignInGate::ask(std::string address, PutIOAccount account, Origin origin) {
    const std::string consequence = " Downloads, uploads and automation work in that account from then on.";
    Question question;
    question.title = "Sign in as " + account.username + "?";
    question.text = origin == Origin::awaited
                        ? "This is another put.io account than " + account_.lastName().value_or("") +
                              ", which was used here last." + consequence
                        : "No sign-in was begun here. A web page or another program wants Tovri to use the put.io "
                          "account " +
                              account.username + "." + consequence;
    asked_ = std::move(address);
    askedAccount_ = std::move(account);
    question_ = std::move(question);
    changes_.tell();
}

void SignInGate::answer(Choice choice) {
    if (!question_) return;
    question_.reset();
    const std::string address = std::exchange(asked_, {});
    const std::optional<PutIOAccount> account = std::exchange(askedAccount_, std::nullopt);
    changes_.tell();
    if (choice == Choice::signIn) take(address, account);
}

// Whoever was signed in goes first: what was selected in that account's lists is not acted on in another.
void SignInGate::take(const std::string& address, const std::optional<PutIOAccount>& account) {
    expectNoMore();
    const std::string token = *tokenInRedirect(address);
    if (auth_.isAuthenticated() && auth_.token() != token) auth_.signOut();
    if (account) account_.remember(token, *account);
    (void)auth_.handleCallback(address);
}

bool SignInGate::drop(std::string_view reason) {
    log_.line(std::string("[Tovri] An address for signing in was dropped: ").append(reason));
    return false;
}

}  // namespace tovri
