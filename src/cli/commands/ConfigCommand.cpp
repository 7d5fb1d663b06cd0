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

// What a value of each type reads as, what its text must be, and how it stands in JSON.

using Bookmark = std::optional<ByteBlob>;  // follows its folder; never set or shown

std::string textOf(const Preferences& preferences, const Preference<std::string>& /*folder*/) {
    return preferences.downloadFolderURL().native();
}

std::string textOf(const Preferences& /*preferences*/, const Preference<Bookmark>& /*bookmark*/) {
    return {};
}

std::string textOf(const Preferences& preferences, const Preference<bool>& flag) {
    return preferences.value(flag) ? "true" : "false";
}

std::string textOf(const Preferences& preferences, const Preference<std::int64_t>& number) {
    return std::to_string(preferences.value(number));
}

std::string textOf(const Preferences& preferences, const Preference<ConflictBehavior>& behavior) {
    return std::string(rawValue(preferences.value(behavior)));
}

std::string textOf(const Preferences& preferences, const Preference<BytesPerSecond>& rate) {
    return textOf(preferences.value(rate));
}

std::string textOf(const Preferences& preferences, const Preference<SpeedTimetable>& timetable) {
    return preferences.value(timetable).text();
}

// Text that the user gave for one of the preferences. `to` returns the reason why it cannot be used.
struct Assignment {
    Preferences& preferences;
    const std::filesystem::path& currentFolder;
    const std::string& text;

    [[nodiscard]] std::optional<std::string> to(const Preference<std::string>& /*folder*/) const {
        if (text.empty()) return "takes a folder";
        preferences.setDownloadFolder(absoluteFolder(currentFolder, text));
        return std::nullopt;
    }

    [[nodiscard]] static std::optional<std::string> to(const Preference<Bookmark>& /*bookmark*/) {
        return std::nullopt;
    }

    [[nodiscard]] std::optional<std::string> to(const Preference<bool>& flag) const {
        return assign(flag, parseFlag(text), "takes true or false");
    }

    [[nodiscard]] std::optional<std::string> to(const Preference<std::int64_t>& number) const {
        return assign(number, parseCount(text), "takes a whole number from 1 on");
    }

    [[nodiscard]] std::optional<std::string> to(const Preference<ConflictBehavior>& behavior) const {
        return assign(behavior, parseBehavior(text), "takes ask, keepBoth, replace or skip");
    }

    [[nodiscard]] std::optional<std::string> to(const Preference<BytesPerSecond>& rate) const {
        return assign(rate, parseRate(text), "takes a number of bytes a second, as in 500K or 2M");
    }

    [[nodiscard]] std::optional<std::string> to(const Preference<SpeedTimetable>& timetable) const {
        return assign(timetable, SpeedTimetable::parse(text),
                      "takes days, from, to, and a limit or \"hold\", as in \"mon-fri 08:00-18:00 500K; daily "
                      "22:00-06:00 hold\"");
    }

private:
    template <class T>
    [[nodiscard]] std::optional<std::string> assign(const Preference<T>& preference, std::optional<T> value,
                                                    const char* reason) const {
        if (!value) return reason;
        preferences.assign(preference, *value);
        return std::nullopt;
    }
};

template <class T>
void addTo(JSON& json, const Preferences& preferences, const Preference<T>& preference) {
    if constexpr (std::is_same_v<T, bool>)
        json.flag(preference.key, preferences.value(preference));
    else if constexpr (std::is_same_v<T, std::int64_t>)
        json.field(preference.key, preferences.value(preference));
    else if constexpr (std::is_same_v<T, BytesPerSecond>)
        json.field(preference.key, preferences.value(preference).count);
    else if constexpr (!std::is_same_v<T, Bookmark>)
        json.field(preference.key, textOf(preferences, preference));
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
    std::string value;
    preference::forEach([&](const auto& one) {
        if (one.key == key) value = textOf(context_.preferences, one);
    });
    return value;
}

std::optional<std::string> ConfigCommand::assign(std::string_view key, const std::string& value) {
    const Assignment assignment{context_.preferences, context_.currentFolder, value};
    std::optional<std::string> reason;
    preference::forEach([&](const auto& one) {
        if (one.key == key) reason = assignment.to(one);
    });
    return reason;
}

void ConfigCommand::print() const {
    for (const std::string_view key : keys())
        context_.terminal.print(fmt::format("{} = {}", key, printable(valueOf(key))));
}

void ConfigCommand::printJSON() const {
    JSON json;
    json.beginObject();
    preference::forEach([&](const auto& one) { addTo(json, context_.preferences, one); });
    json.endObject();
    context_.terminal.print(json.line());
}

}  // namespace tovri::cli
