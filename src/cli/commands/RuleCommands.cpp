#include "cli/commands/RuleCommands.h"

#include <charconv>
#include <filesystem>

#include <fmt/format.h>

#include "cli/commands/DownloadCommands.h"
#include "cli/commands/ItemSelection.h"
#include "cli/display/DisplayText.h"
#include "cli/display/RuleListing.h"
#include "cli/display/ShortID.h"
#include "platform/Await.h"

namespace tovri::cli {
namespace {

constexpr std::int64_t longestInterval = 60;  // minutes

std::optional<std::int64_t> intervalOf(const Invocation& invocation) {
    const std::optional<std::string> text = invocation.value("--every");
    if (!text) return std::nullopt;
    std::int64_t minutes = 0;
    std::from_chars(text->data(), text->data() + text->size(), minutes);
    return minutes;
}

std::string named(const SyncRule& rule) {
    return printable(rule.putioFolderName);
}

}  // namespace

Task<ExitCode> RuleListCommand::run(std::stop_token /*stop*/) {
    std::vector<SyncRule> rules = context_.app.syncManager().rules();
    const std::optional<std::string> last = context_.app.account().lastName();
    for (SyncRule& rule : rules) rule.isForeign = last && rule.account && rule.account != last;
    if (context_.invocation.has("--json")) {
        context_.terminal.print(rulesJSON(rules));
        co_return ExitCode::success;
    }
    for (const std::string& line :
         ruleLines(rules, context_.platform.clock.now(), context_.platform.folders.home, context_.outputWidth()))
        context_.terminal.print(line);
    co_return ExitCode::success;
}

Task<ExitCode> RuleChangeCommand::run(std::stop_token stop) {
    if (const std::string wrong = objection(); !wrong.empty()) {
        context_.complain(wrong);
        co_return ExitCode::wrongArguments;
    }
    // The queue stays as it is saved: no rule is changed by what it holds, and nothing is downloaded here.
    sync().configure(context_.api, context_.app.downloadManager());
    Result<std::string> changed = co_await change(stop);
    const Result<void> saved = sync().saveNow();
    if (changed && !saved) changed = failure(saved.error());
    if (changed)
        context_.terminal.print(*changed);
    else
        context_.complain(changed.error());
    co_return changed ? ExitCode::success : ExitCode::failure;
}

std::string RuleChangeCommand::objection() const {
    const Invocation& invocation = context_.invocation;
    if (invocation.has("--delete") && invocation.has("--keep")) return "give --delete or --keep, not both.";
    if (intervalOf(invocation).value_or(1) > longestInterval) return "--every takes minutes from 1 to 60.";
    return {};
}

Result<SyncRule> RuleChangeCommand::namedRule() const {
    const Result<UUID> id = selectRule(context_.invocation.operands.front(), sync().rules());
    if (!id) return failure(id.error());
    return *sync().find(*id);
}

Task<Result<SyncRule>> RuleChangeCommand::withFolder(SyncRule rule, std::string folder, std::stop_token stop) {
    Result<PutIOFile> found = co_await tree_.findFolder(std::move(folder), stop);
    if (!found) co_return failure(found);
    rule.putioFolderID = folderOf(found->id);
    rule.putioFolderName = rule.putioFolderID == rootFolderID ? "Your Files" : found->name;
    co_return rule;
}

// A folder that does not exist yet is made when its first file comes.
Result<void> RuleChangeCommand::applyLocalFolder(SyncRule& rule, const std::string& folder) const {
    const std::filesystem::path path = absoluteFolder(context_.currentFolder, folder);
    if (context_.platform.files.exists(path) && !context_.platform.files.directoryContents(path))
        return failure(Error(ErrorCase::file, fmt::format("{} is no folder that can be read.", path.native())));
    rule.localFolderPath = path.native();
    const Result<ByteBlob> bookmark = context_.platform.folderAccess.makeBookmark(path);
    rule.localFolderBookmark = bookmark ? std::optional(*bookmark) : std::nullopt;
    return {};
}

void RuleChangeCommand::applyOptions(SyncRule& rule) const {
    if (context_.invocation.has("--delete")) rule.deleteAfterDownload = true;
    if (context_.invocation.has("--keep")) rule.deleteAfterDownload = false;
    rule.pollIntervalMinutes = intervalOf(context_.invocation).value_or(rule.pollIntervalMinutes);
}

Task<Result<std::string>> RuleChangeCommand::inventoryOf(UUID rule, std::stop_token stop) {
    using Ended = std::monostate;
    Result<Ended> ended = co_await Answer<Ended>(context_.platform.loop, stop, [this, rule](auto done) {
        const auto shared = std::make_shared<decltype(done)>(std::move(done));
        return sync().onChange([this, rule, shared](const SyncChange&) {
            if (sync().find(rule)->isInitialized || sync().lastError()) (*shared)(Ended());
        });
    });
    if (!ended) co_return failure(ended);
    if (!sync().find(rule)->isInitialized)
        co_return failure(Error(ErrorCase::file, *sync().lastError() + " The rule is kept; tovri-cli watch tries."));
    const std::size_t count = sync().find(rule)->knownFileIDs.size();
    co_return fmt::format("{} there already", count == 1 ? "1 file is" : fmt::format("{} files are", count));
}

Task<Result<std::string>> RuleAddCommand::change(std::stop_token stop) {
    SyncRule begun;
    begun.id = context().platform.random.makeUUID();
    begun.pollIntervalMinutes = context().preferences.syncPollIntervalMinutes();
    applyOptions(begun);
    Result<void> applied = applyLocalFolder(begun, context().invocation.operands.at(1));
    if (!applied) co_return failure(applied);
    Result<SyncRule> rule = co_await withFolder(std::move(begun), context().invocation.operands.front(), stop);
    if (!rule) co_return failure(rule);

    const Result<PutIOAccount> account = co_await context().app.account().refresh(stop);
    if (account) rule->account = account->username;
    const std::string name = named(*rule);
    const UUID id = rule->id;
    sync().addRule(std::move(*rule));
    Result<std::string> inventory = co_await inventoryOf(id, stop);
    if (!inventory) co_return failure(inventory);
    co_return fmt::format("Rule {} watches \"{}\": {}; what comes from now on is downloaded.",
                          shortID(id, sync().rules().size()), name, *inventory);
}

std::string RuleEditCommand::objection() const {
    if (context().invocation.flags.empty()) return "say what to change: --folder, --to, --delete, --keep or --every.";
    return RuleChangeCommand::objection();
}

Task<Result<std::string>> RuleEditCommand::change(std::stop_token stop) {
    Result<SyncRule> rule = namedRule();
    if (!rule) co_return failure(rule);
    const FolderID watched = rule->putioFolderID;
    applyOptions(*rule);
    if (const auto folder = context().invocation.value("--to")) {
        Result<void> applied = applyLocalFolder(*rule, *folder);
        if (!applied) co_return failure(applied);
    }
    if (auto folder = context().invocation.value("--folder")) {
        rule = co_await withFolder(std::move(*rule), std::move(*folder), stop);
        if (!rule) co_return failure(rule);
    }

    const SyncRule edited = *rule;
    sync().updateRule(std::move(*rule));
    if (edited.putioFolderID == watched) co_return fmt::format("Changed: \"{}\"", named(edited));
    Result<std::string> inventory = co_await inventoryOf(edited.id, stop);
    if (!inventory) co_return failure(inventory);
    co_return fmt::format("Changed: \"{}\", {}", named(edited), *inventory);
}

Task<Result<std::string>> RuleStepCommand::change(std::stop_token /*stop*/) {
    Result<SyncRule> rule = namedRule();
    if (!rule) co_return failure(rule);
    const std::string name = named(*rule);
    if (context().invocation.command == CommandName::rulesRemove) {
        sync().deleteRule(rule->id);
        co_return fmt::format("Deleted: the rule for \"{}\"", name);
    }
    const bool isEnabled = context().invocation.command == CommandName::rulesEnable;
    const std::optional<std::string> last = context().app.account().lastName();
    if (isEnabled && last && rule->account && rule->account != last) {
        const UUID id = rule->id;
        sync().useAnyAccount(id);
        rule = *sync().find(id);
    }
    rule->isEnabled = isEnabled;
    sync().updateRule(std::move(*rule));
    co_return fmt::format("{}: the rule for \"{}\"", isEnabled ? "Enabled" : "Paused", name);
}

}  // namespace tovri::cli
