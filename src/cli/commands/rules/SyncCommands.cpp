#include "cli/commands/rules/SyncCommands.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/commands/queue/ItemSelection.h"
#include "downloads/OutdatedItems.h"
#include "screens/automation/SyncRuleRow.h"

namespace tovri::cli {

std::string RuleSyncCommand::objection() {
    const SyncManager& sync = context().app.syncManager();
    if (context().invocation.operands.empty())
        return sync.rules().empty() ? "there is no rule. Make one with: tovri-cli rules add FOLDER DIR" : "";
    Result<UUID> rule = selectRule(context().invocation.operands.front(), sync.rules());
    if (!rule) return rule.error().description;
    rule_ = *rule;
    return {};
}

Task<void> RuleSyncCommand::prepare(std::stop_token stop) {
    SyncManager& sync = context().app.syncManager();
    const Subscription failures = sync.onChange([this, &sync](const SyncChange& change) {
        if (change.kind == SyncChange::Kind::lastError && sync.lastError())

            running().fail(syncFailureText(*sync.lastError()), ExitCode::failure, sync.lastErrorRule());
    });
    // Rules wait until it is known whose account it is.
    if (!context().app.account().name()) (void)co_await context().app.account().refresh(stop);
    if (rule_)
        co_await sync.syncRule(*rule_, SyncUrgency::forced, stop);
    else
        co_await sync.syncAll(SyncUrgency::forced, stop);
    running().tellIfNothingToDo("Nothing to do: no new files.");
}

WatchCommand::WatchCommand(CommandContext& context) : DownloadCommand(context, DownloadRun::Until::stopped) {
    SyncManager& sync = context.app.syncManager();
    rounds_ = sync.onChange([&context, &sync](const SyncChange& change) {
        if (change.kind != SyncChange::Kind::isSyncing) return;
        if (sync.isSyncing())
            context.log.beginRound();
        else
            context.log.endRound();
        if (!sync.isSyncing()) removeOutdatedItems(context.app.downloadManager(), context.platform.clock.now());
    });
}

// While it runs nobody can make or enable one, so there would never be anything to do.
std::string WatchCommand::objection() {
    const std::vector<SyncRule>& rules = context().app.syncManager().rules();
    if (rules.empty()) return "there is no rule to watch for. Make one with: tovri-cli rules add FOLDER DIR";
    if (std::ranges::none_of(rules, &SyncRule::isEnabled))
        return "every rule is paused. Let one look again with: tovri-cli rules enable ID";
    return {};
}

Task<void> WatchCommand::prepare(std::stop_token /*stop*/) {
    const auto count = std::ranges::count_if(context().app.syncManager().rules(), &SyncRule::isEnabled);
    context().terminal.message(
        fmt::format("Watching for {} until stopped.", count == 1 ? "1 rule" : fmt::format("{} rules", count)));
    co_return;
}

}  // namespace tovri::cli
