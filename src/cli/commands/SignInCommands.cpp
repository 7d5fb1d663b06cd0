#include "cli/commands/SignInCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/Trimmed.h"
#include "cli/commands/Question.h"
#include "cli/commands/queue/SavedQueue.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"
#include "service/signin/SignInRedirect.h"

namespace tovri::cli {
namespace {

constexpr std::string_view tokenPrecedes = "TOVRI_TOKEN is set and takes precedence as long as it is.";

struct QueueCounts {
    std::int64_t waiting = 0;
    std::int64_t paused = 0;
    std::int64_t failed = 0;
    std::int64_t finished = 0;
};

QueueCounts countsOf(const QueueSnapshot& queue) {
    QueueCounts counts;
    for (const DownloadRecord& item : queue.downloads) {
        if (item.status == DownloadStatus::paused)
            ++counts.paused;
        else if (item.status == DownloadStatus::failed || item.status == DownloadStatus::remoteDeleteFailed)
            ++counts.failed;
        else
            ++(isFinished(item.status) ? counts.finished : counts.waiting);
    }
    return counts;
}

}  // namespace

// The token is tried before it takes the place of another: a wrong one should not show in the middle of the night.
Task<ExitCode> LoginCommand::run(std::stop_token stop) {
    if (const auto id = context_.invocation.value("--client-id")) {
        context_.auth.saveClientID(*id);
        if (!context_.isKept(KeychainItem::clientID, context_.auth.clientID())) {
            context_.complain("the client ID could not be kept, so nobody is signed in.");
            co_return ExitCode::failure;
        }
    }
    Result<std::string> token = co_await newToken(stop);
    if (!token) {
        context_.complain(token.error());
        co_return ExitCode::failure;
    }
    const Result<PutIOAccount> account = co_await context_.app.account().lookUp(*token, stop);
    if (!account && account.error().code == ErrorCase::notAuthenticated) {
        context_.complain("put.io does not accept this access token; nothing was kept.");
        co_return ExitCode::failure;
    }
    co_return keep(*token, account);
}

Task<Result<std::string>> LoginCommand::newToken(std::stop_token stop) {
    if (!context_.invocation.has("--token-stdin")) {
        Result<std::string> token = co_await context_.auth.requestToken(stop);
        co_return token;
    }
    const std::string question = context_.terminal.canAsk() ? "Access token (not shown): " : "";
    Result<std::optional<std::string>> line =
        co_await ask(context_.platform.loop, context_.terminal, question, Terminal::Echo::hidden, stop);
    std::string token(trimmed(line && *line ? std::string_view(**line) : std::string_view()));
    if (!isAccessToken(token)) co_return failure(Error(ErrorCase::noToken, "Standard input holds no access token."));
    co_return token;
}

ExitCode LoginCommand::keep(const std::string& token, const Result<PutIOAccount>& account) {
    const Result<void> taken = context_.auth.signInWithToken(token);
    if (!taken || !context_.isKept(KeychainItem::accessToken, token)) {
        context_.complain(taken ? "the access token could not be kept." : taken.error().description);
        return ExitCode::failure;
    }
    if (account) context_.app.account().remember(token, *account);
    context_.terminal.print(account ? fmt::format("Signed in as {}.", printable(account->username)) : "Signed in.");
    if (!account)
        context_.complain("put.io could not be asked, so the access token is not checked: " +
                          account.error().description);
    if (context_.hasTokenFromEnvironment) context_.terminal.message(tokenPrecedes);
    return ExitCode::success;
}

Task<ExitCode> LogoutCommand::run(std::stop_token /*stop*/) {
    context_.auth.signOut();
    if (!context_.forgetToken()) {
        context_.complain("the access token could not be taken out of its store.");
        co_return ExitCode::failure;
    }
    context_.terminal.print("Signed out.");
    if (context_.hasTokenFromEnvironment)
        context_.terminal.message("TOVRI_TOKEN is set and still signs in as long as it is.");
    co_return ExitCode::success;
}

Task<ExitCode> StatusCommand::run(std::stop_token /*stop*/) {
    const Result<QueueSnapshot> saved = readSavedQueue(context_.platform);
    if (!saved) context_.complain(saved.error().description);
    const QueueSnapshot queue = saved.value_or(QueueSnapshot());
    const std::optional<Result<PutIOAccount>> whose = co_await account();
    if (context_.invocation.has("--json")) {
        printJSON(queue, whose);
        co_return saved ? ExitCode::success : ExitCode::failure;
    }
    const QueueCounts counts = countsOf(queue);
    context_.terminal.print(signInText(whose));
    context_.terminal.print(fmt::format("Queue: {} waiting, {} paused, {} failed, {} finished{}", counts.waiting,
                                        counts.paused, counts.failed, counts.finished,
                                        queue.isPaused ? "; the queue is paused" : ""));
    for (const SyncRule& rule : context_.app.syncManager().rules())
        if (rule.lastFailure)
            context_.terminal.print(
                printable(fmt::format("Rule for {} failed: {}", rule.putioFolderName, *rule.lastFailure)));
    context_.terminal.print(
        fmt::format("Queue folder: {}", printable(context_.platform.folders.applicationData.native())));
    context_.terminal.print(fmt::format("Preferences folder: {}", printable(context_.configurationFolder.native())));
    co_return saved ? ExitCode::success : ExitCode::failure;
}

// None while nobody is signed in. Does not remember it, so that looking writes nothing, and waits for no slow network.
Task<std::optional<Result<PutIOAccount>>> StatusCommand::account() {
    constexpr std::chrono::seconds patience{5};
    if (!context_.auth.isAuthenticated()) co_return std::nullopt;
    std::stop_source tooLong;
    const Subscription limit =
        context_.platform.loop.schedule(patience, [tooLong]() mutable { tooLong.request_stop(); });
    Result<PutIOAccount> account = co_await context_.app.account().lookUp(*context_.auth.token(), tooLong.get_token());
    co_return account;
}

void StatusCommand::printJSON(const QueueSnapshot& queue, const std::optional<Result<PutIOAccount>>& account) const {
    const QueueCounts counts = countsOf(queue);
    JSON json;
    json.beginObject().flag("isAuthenticated", context_.auth.isAuthenticated());
    json.flag("hasTokenFromEnvironment", context_.hasTokenFromEnvironment);
    json.flag("hasClientID", !context_.auth.needsClientID()).flag("isPaused", queue.isPaused);
    json.field("waiting", counts.waiting).field("paused", counts.paused).field("failed", counts.failed);
    json.field("finished", counts.finished);
    if (account && *account) {
        json.field("account", (*account)->username);
        if ((*account)->disk && (*account)->disk->used) json.field("used", *(*account)->disk->used);
        if (const auto left = freeSpace(**account)) json.field("free", *left);
    }
    json.endObject();
    context_.terminal.print(json.line());
}

std::string StatusCommand::signInText(const std::optional<Result<PutIOAccount>>& account) const {
    if (!account) return "Not signed in; sign in with: tovri-cli login";
    std::string text = "Signed in";
    if (context_.hasTokenFromEnvironment) text += " with the token of TOVRI_TOKEN";
    if (*account) return text + ": " + printable(accountText(**account));
    if (account->error().code == ErrorCase::notAuthenticated)
        return text + ", but put.io does not accept the access token; sign in with: tovri-cli login";
    return text + "; put.io could not be asked whose account that is";
}

}  // namespace tovri::cli
