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

WatchCommand::WatchCommand(CommandContext& context)
    : DownloadCommand(context, DownloadRun::Until::stopped),
      rounds_(context.app.syncManager().onChange([this](const SyncChange& change) { follow(change); })) {}

void WatchCommand::follow(const SyncChange& change) {
    const SyncManager& sync = context().app.syncManager();
    if (change.kind == SyncChange::Kind::lastError && sync.lastError()) tellFailure();
    if (change.kind == SyncChange::Kind::ruleChanged && !sync.rules()[change.index].lastFailure)
        failures_.forget(sync.rules()[change.index].id.text());
    if (change.kind != SyncChange::Kind::isSyncing) return;
    if (sync.isSyncing()) return context().log.beginRound();
    context().log.endRound();
    removeOutdatedItems(context().app.downloadManager(), context().platform.clock.now());
}

// Each pass fails anew while the reason lasts.
void WatchCommand::tellFailure() {
    const SyncManager& sync = context().app.syncManager();
    const std::optional<UUID>& rule = sync.lastErrorRule();
    const std::string text = syncFailureText(*sync.lastError());
    if (failures_.isNews(rule ? rule->text() : "", text, context().platform.loop.now(), LastTold::Again::hourly))
        context().tellFailure(text, rule);
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
