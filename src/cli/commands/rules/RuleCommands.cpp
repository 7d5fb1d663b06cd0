#include "cli/commands/rules/RuleCommands.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <variant>

#include <fmt/format.h>

#include "cli/commands/Confirmation.h"
#include "cli/commands/DownloadCommands.h"
#include "cli/commands/queue/ItemSelection.h"
#include "cli/display/DisplayText.h"
#include "cli/display/RuleListing.h"
#include "cli/display/ShortID.h"
#include "platform/Await.h"
#include "screens/automation/SyncRuleRow.h"

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

// The folder, or where it does not exist yet the one in which it will be made when its first file comes.
Result<std::monostate> lookAtDestination(FileManager& files, const std::filesystem::path& folder,
                                         const std::filesystem::path& ownData) {
    if (files.isWithin(folder, ownData))
        return failure(Error(ErrorCase::file,
                             fmt::format("{} belongs to Tovri's own data; choose another folder.", folder.native())));
    std::filesystem::path there = folder;
    while (!files.exists(there) && there.has_relative_path()) there = there.parent_path();
    if (!files.directoryContents(there))
        return failure(Error(ErrorCase::file, fmt::format("{} is no folder that can be read.", there.native())));
    return std::monostate();
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
    if (const std::string wrong = objection(); !wrong.empty()) co_return context_.fail(wrong, ExitCode::wrongArguments);
    if (asksService() && !context_.auth.isAuthenticated())
        co_return context_.fail("not signed in. Sign in with: tovri-cli login", ExitCode::notSignedIn);
    if (const auto refused = mustBeMeant() ? refusalToAsk(context_) : std::nullopt) co_return *refused;
    // The queue stays as it is saved: no rule is changed by what it holds, and nothing is downloaded here.
    sync().configure(context_.api, context_.app.downloadManager());
    Result<Changed> changed = co_await change(stop);
    const Result<void> saved = sync().saveNow();
    if (changed && !saved) changed = failure(saved.error());
    if (changed && changed->refusal) co_return *changed->refusal;
    if (!changed) co_return context_.fail(changed.error());
    context_.tellDone(changed->text, changed->rule);
    co_return ExitCode::success;
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
    Result<FolderListing> seen = co_await tree_.list(folderOf(found->id), stop);
    if (!seen) co_return failure(seen);
    rule.putioFolderID = folderOf(found->id);
    rule.putioFolderName = rule.putioFolderID == rootFolderID ? "Your Files" : found->name;
    co_return rule;
}

// A volume that hangs can still be left with Ctrl-C.
Task<Result<SyncRule>> RuleChangeCommand::withLocalFolder(SyncRule rule, std::string folder, std::stop_token stop) {
    const Platform& platform = context_.platform;
    const std::filesystem::path path = absoluteFolder(context_.currentFolder, folder);
    auto look = [&files = platform.files, path, data = platform.folders.applicationData] {
        return lookAtDestination(files, path, data);
    };
    Result<std::monostate> seen = co_await onVolume<std::monostate>(
        platform.loop, platform.volumes, "folder " + path.native(), std::move(stop), std::move(look));
    if (!seen) co_return failure(seen);
    rule.localFolderPath = path.native();
    const Result<ByteBlob> bookmark = platform.folderAccess.makeBookmark(path);
    rule.localFolderBookmark = bookmark ? std::optional(*bookmark) : std::nullopt;
    co_return rule;
}

void RuleChangeCommand::applyOptions(SyncRule& rule) const {
    if (context_.invocation.has("--delete")) rule.deleteAfterDownload = true;
    if (context_.invocation.has("--keep")) rule.deleteAfterDownload = false;
    rule.pollIntervalMinutes = intervalOf(context_.invocation).value_or(rule.pollIntervalMinutes);
}

Task<Result<std::string>> RuleChangeCommand::inventoryOf(UUID rule, std::stop_token stop) {
    using Ended = std::monostate;
    const auto hasEnded = [this, rule] { return sync().find(rule)->isInitialized || sync().lastError(); };
    Result<Ended> ended = Ended();
    if (!hasEnded())
        ended = co_await Answer<Ended>(context_.platform.loop, stop, [this, hasEnded](auto done) {
            const auto shared = std::make_shared<decltype(done)>(std::move(done));
            return sync().onChange([hasEnded, shared](const SyncChange&) {
                if (hasEnded()) (*shared)(Ended());
            });
        });
    if (!ended) co_return failure(ended);
    if (!sync().find(rule)->isInitialized)
        co_return failure(
            Error(ErrorCase::file, syncFailureText(*sync().lastError()) + " The rule is kept; tovri-cli watch tries."));
    const std::size_t count = sync().find(rule)->knownFileIDs.size();
    co_return fmt::format("{} there already", count == 1 ? "1 file is" : fmt::format("{} files are", count));
}

Task<Result<RuleChangeCommand::Changed>> RuleAddCommand::change(std::stop_token stop) {
    SyncRule begun;
    begun.id = context().platform.random.makeUUID();
    begun.pollIntervalMinutes = context().preferences.syncPollIntervalMinutes();
    applyOptions(begun);
    Result<SyncRule> rule = co_await withLocalFolder(std::move(begun), context().invocation.operands.at(1), stop);
    if (rule) rule = co_await withFolder(std::move(*rule), context().invocation.operands.front(), stop);
    if (!rule) co_return failure(rule);
    if (const SyncRule* same = ruleOfPair(sync().rules(), *rule); same && !context().invocation.has("--force"))
        co_return failure(
            Error(ErrorCase::alreadyExists,
                  fmt::format("Rule {} brings \"{}\" to {} already. To make another one all the same, give --force.",
                              shortID(same->id, sync().rules().size()), same->putioFolderName, same->localFolderPath)));

    const Result<PutIOAccount> account = co_await context().app.account().refresh(stop);
    if (account) rule->account = account->username;
    const std::string name = named(*rule);
    const UUID id = rule->id;
    sync().addRule(std::move(*rule));
    Result<std::string> inventory = co_await inventoryOf(id, stop);
    if (!inventory) co_return failure(inventory);
    co_return Changed{fmt::format("Rule {} watches \"{}\": {}; what comes from now on is downloaded.",
                                  shortID(id, sync().rules().size()), name, *inventory),
                      id};
}

std::string RuleEditCommand::objection() const {
    const auto isGiven = [this](const char* flag) { return context().invocation.has(flag); };
    if (std::ranges::none_of(std::array{"--folder", "--to", "--delete", "--keep", "--every"}, isGiven))
        return "say what to change: --folder, --to, --delete, --keep or --every.";
    return RuleChangeCommand::objection();
}

Task<Result<RuleChangeCommand::Changed>> RuleEditCommand::change(std::stop_token stop) {
    Result<SyncRule> rule = namedRule();
    if (!rule) co_return failure(rule);
    const FolderID watched = rule->putioFolderID;
    applyOptions(*rule);
    if (auto folder = context().invocation.value("--to")) {
        rule = co_await withLocalFolder(std::move(*rule), std::move(*folder), stop);
        if (!rule) co_return failure(rule);
    }
    if (auto folder = context().invocation.value("--folder")) {
        rule = co_await withFolder(std::move(*rule), std::move(*folder), stop);
        if (!rule) co_return failure(rule);
    }

    const SyncRule edited = *rule;
    sync().updateRule(std::move(*rule));
    if (edited.putioFolderID == watched) co_return Changed{fmt::format("Changed: \"{}\"", named(edited)), edited.id};
    Result<std::string> inventory = co_await inventoryOf(edited.id, stop);
    if (!inventory) co_return failure(inventory);
    co_return Changed{fmt::format("Changed: \"{}\", {}", named(edited), *inventory), edited.id};
}

Task<Result<RuleChangeCommand::Changed>> RuleStepCommand::change(std::stop_token stop) {
    Result<SyncRule> rule = namedRule();
    if (!rule) co_return failure(rule);
    const std::string name = named(*rule);
    const UUID id = rule->id;
    if (mustBeMeant()) {
        std::optional<ExitCode> refused =
            co_await refusalOfUser(&context(), fmt::format("Delete the rule for \"{}\"?", name), stop);
        if (refused) co_return Changed{{}, id, refused};
        sync().deleteRule(id);
        co_return Changed{fmt::format("Deleted: the rule for \"{}\"", name), id};
    }
    const bool isEnabled = context().invocation.command == CommandName::rulesEnable;
    const std::optional<std::string> last = context().app.account().lastName();
    if (isEnabled && last && rule->account && rule->account != last) {
        sync().useAnyAccount(id);
        rule = *sync().find(id);
    }
    rule->isEnabled = isEnabled;
    sync().updateRule(std::move(*rule));
    co_return Changed{fmt::format("{}: the rule for \"{}\"", isEnabled ? "Enabled" : "Paused", name), id};
}

}  // namespace tovri::cli
