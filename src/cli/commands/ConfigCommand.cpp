#include "cli/commands/ConfigCommand.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "cli/commands/DownloadCommands.h"
#include "cli/display/DisplayText.h"
#include "cli/display/JSON.h"

namespace tovri::cli {
namespace {

const std::vector<std::string_view>& keys() {
    return definitionOf(CommandName::config).operands.front().choices;
}

}  // namespace

std::optional<std::int64_t> parseCount(std::string_view text) {
    std::int64_t value = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (code != std::errc() || end != text.data() + text.size() || value < 1) return std::nullopt;
    return value;
}

std::optional<bool> parseFlag(std::string_view text) {
    if (text == "true" || text == "yes" || text == "on") return true;
    if (text == "false" || text == "no" || text == "off") return false;
    return std::nullopt;
}

std::optional<ConflictBehavior> parseBehavior(std::string_view text) {
    return conflictBehaviorOf(text == "keep-both" ? "keepBoth" : text);
}

Task<ExitCode> ConfigCommand::run(std::stop_token /*stop*/) {
    const std::vector<std::string>& operands = context_.invocation.operands;
    if (operands.empty()) {
        context_.invocation.has("--json") ? printJSON() : print();
        co_return ExitCode::success;
    }
    const std::string& key = operands.front();
    if (std::ranges::find(keys(), key) == keys().end()) {
        context_.complain(fmt::format("there is no key \"{}\"; the keys are {}.", key, fmt::join(keys(), ", ")));
        co_return ExitCode::wrongArguments;
    }
    if (operands.size() == 1) {
        context_.terminal.print(printable(valueOf(key)));
        co_return ExitCode::success;
    }
    if (const auto reason = assign(key, operands[1])) {
        context_.complain(fmt::format("{} {}, not \"{}\".", key, *reason, operands[1]));
        co_return ExitCode::wrongArguments;
    }
    if (!context_.hasSavedPreferences()) {
        context_.complain(fmt::format("the preferences could not be written to {}; nothing was changed.",
                                      context_.configurationFolder.native()));
        co_return ExitCode::failure;
    }
    co_return ExitCode::success;
}

std::string ConfigCommand::valueOf(std::string_view key) const {
    const Preferences& preferences = context_.preferences;
    if (key == "defaultDownloadPath") return preferences.downloadFolderURL().native();
    if (key == "deleteAfterDownload") return preferences.deleteAfterDownload() ? "true" : "false";
    if (key == "maxConcurrentDownloads") return std::to_string(preferences.maxConcurrentDownloads());
    if (key == "syncPollIntervalMinutes") return std::to_string(preferences.syncPollIntervalMinutes());
    return std::string(rawValue(preferences.conflictBehavior()));
}

std::optional<std::string> ConfigCommand::assign(std::string_view key, const std::string& value) {
    constexpr const char* needsCount = "takes a whole number from 1 on";
    Preferences& preferences = context_.preferences;
    if (key == "defaultDownloadPath") {
        if (value.empty()) return "takes a folder";
        preferences.setDownloadFolder(absoluteFolder(context_.currentFolder, value));
    } else if (key == "deleteAfterDownload") {
        const auto flag = parseFlag(value);
        if (!flag) return "takes true or false";
        preferences.setDeleteAfterDownload(*flag);
    } else if (key == "maxConcurrentDownloads") {
        const auto count = parseCount(value);
        if (!count) return needsCount;
        preferences.setMaxConcurrentDownloads(*count);
    } else if (key == "syncPollIntervalMinutes") {
        const auto count = parseCount(value);
        if (!count) return needsCount;
        preferences.setSyncPollIntervalMinutes(*count);
    } else {
        const auto behavior = parseBehavior(value);
        if (!behavior) return "takes ask, keepBoth, replace or skip";
        preferences.setConflictBehavior(*behavior);
    }
    return std::nullopt;
}

void ConfigCommand::print() const {
    for (const std::string_view key : keys())
        context_.terminal.print(fmt::format("{} = {}", key, printable(valueOf(key))));
}

void ConfigCommand::printJSON() const {
    const Preferences& preferences = context_.preferences;
    JSON json;
    json.beginObject().field("defaultDownloadPath", unicodeText(preferences.downloadFolderURL().native()));
    json.flag("deleteAfterDownload", preferences.deleteAfterDownload());
    json.field("maxConcurrentDownloads", preferences.maxConcurrentDownloads());
    json.field("syncPollIntervalMinutes", preferences.syncPollIntervalMinutes());
    json.field("conflictBehavior", rawValue(preferences.conflictBehavior())).endObject();
    context_.terminal.print(json.line());
}

}  // namespace tovri::cli
