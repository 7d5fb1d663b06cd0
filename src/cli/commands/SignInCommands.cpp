#include "cli/commands/SignInCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/commands/Question.h"
#include "cli/commands/SavedQueue.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"

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

// The token is tried at once: a wrong one should not show in the middle of the night.
Task<ExitCode> LoginCommand::run(std::stop_token stop) {
    if (const auto id = context_.invocation.value("--client-id")) context_.auth.saveClientID(*id);
    Result<void> done;
    if (context_.invocation.has("--token-stdin"))
        done = co_await signInWithToken(stop);
    else
        done = co_await signIn(stop);
    if (!done) {
        context_.complain(done.error());
        co_return ExitCode::failure;
    }
    if (context_.hasTokenFromEnvironment) context_.terminal.message(tokenPrecedes);
    Result<std::vector<PutIOFile>> tried = co_await context_.api.listFiles(rootFolderID, stop);
    if (!tried && tried.error().code == ErrorCase::notAuthenticated) {
        context_.complain("put.io does not accept this access token; nothing was kept.");
        co_return ExitCode::failure;
    }
    context_.terminal.print("Signed in.");
    if (!tried) context_.complain("put.io could not be asked: " + tried.error().description);
    co_return ExitCode::success;
}

Task<Result<void>> LoginCommand::signIn(std::stop_token stop) {
    Result<void> done = co_await context_.auth.signIn(stop);
    co_return done;
}

Task<Result<void>> LoginCommand::signInWithToken(std::stop_token stop) {
    const std::string question = context_.terminal.canAsk() ? "Access token (not shown): " : "";
    Result<std::optional<std::string>> line =
        co_await ask(context_.platform.loop, context_.terminal, question, Terminal::Echo::hidden, stop);
    Result<void> done = context_.auth.signInWithToken(line && *line ? **line : std::string());
    if (!done) co_return failure(Error(ErrorCase::noToken, "Standard input holds no access token."));
    co_return done;
}

Task<ExitCode> LogoutCommand::run(std::stop_token /*stop*/) {
    context_.auth.signOut();
    context_.terminal.print("Signed out.");
    if (context_.hasTokenFromEnvironment) context_.terminal.message(tokenPrecedes);
    co_return ExitCode::success;
}

Task<ExitCode> StatusCommand::run(std::stop_token /*stop*/) {
    const Result<QueueSnapshot> saved = readSavedQueue(context_.platform);
    if (!saved) context_.complain(saved.error().description);
    const QueueSnapshot queue = saved.value_or(QueueSnapshot());
    const QueueCounts counts = countsOf(queue);
    const AuthManager& auth = context_.auth;
    if (context_.invocation.has("--json")) {
        JSON json;
        json.beginObject().flag("isAuthenticated", auth.isAuthenticated());
        json.flag("hasTokenFromEnvironment", context_.hasTokenFromEnvironment);
        json.flag("hasClientID", !auth.needsClientID()).flag("isPaused", queue.isPaused);
        json.field("waiting", counts.waiting).field("paused", counts.paused).field("failed", counts.failed);
        json.field("finished", counts.finished).endObject();
        context_.terminal.print(json.line());
        co_return saved ? ExitCode::success : ExitCode::failure;
    }
    context_.terminal.print(signInText());
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

std::string StatusCommand::signInText() const {
    if (context_.hasTokenFromEnvironment) return "Signed in with the token of TOVRI_TOKEN";
    return context_.auth.isAuthenticated() ? "Signed in" : "Not signed in; sign in with: tovri-cli login";
}

}  // namespace tovri::cli
