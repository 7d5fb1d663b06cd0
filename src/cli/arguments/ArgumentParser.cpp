#include "cli/arguments/ArgumentParser.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "base/RateText.h"
#include "cli/arguments/Completion.h"
#include "cli/arguments/HelpText.h"
#include "cli/arguments/ManPage.h"
#include "service/records/FileID.h"

namespace tovri::cli {
namespace {

constexpr std::string_view versionText = "tovri-cli " TOVRI_VERSION "\n";

using Parsed = std::variant<Invocation, RequestedText, WrongArguments>;

std::string checkNumber(const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
    if (isNumber && std::stoi(text) >= 1) return {};
    return fmt::format("'{}' is not a whole number from 1 on", text);
}

std::string checkRate(const std::string& text) {
    if (parseRate(text)) return {};
    return fmt::format("'{}' is no number of bytes a second, as in 500K or 2M", text);
}

std::string checkChoice(const std::vector<std::string_view>& choices, const std::string& text) {
    if (std::ranges::find(choices, text) != choices.end()) return {};
    return fmt::format("'{}' is none of {}", text, fmt::join(choices, ", "));
}

void addFlag(CLI::App& app, const FlagDefinition& flag, Invocation& invocation) {
    const std::string name(flag.name);
    if (flag.placeholder.empty()) {
        app.add_flag_callback(name, [&invocation, name] { invocation.flags[name] = ""; });
        return;
    }
    CLI::Option* option = app.add_option_function<std::string>(
        name, [&invocation, name](const std::string& value) { invocation.flags[name] = value; });
    if (flag.kind == ValueKind::number) option->check(checkNumber);
    if (flag.kind == ValueKind::rate) option->check(checkRate);
    if (flag.kind == ValueKind::choice)
        option->check([&flag](const std::string& text) { return checkChoice(flag.choices, text); });
}

// What stands behind the command's name. All operands are gathered in one list.
void addArguments(CLI::App& app, const CommandDefinition& definition, Invocation& invocation) {
    app.set_help_flag();
    for (const FlagDefinition& flag : definition.flags) addFlag(app, flag, invocation);
    if (!definition.operands.empty()) app.add_option("operands", invocation.operands);
}

std::optional<std::string> complaintAboutCount(const CommandDefinition& definition, std::size_t count) {
    std::size_t least = 0;
    std::size_t most = 0;
    bool isBounded = true;
    for (const OperandDefinition& operand : definition.operands) {
        least += static_cast<std::size_t>(operand.least);
        most += static_cast<std::size_t>(operand.most);
        isBounded = isBounded && operand.most > 0;
    }
    if (count < least)
        return fmt::format("{} is missing",
                           definition.operands.at(std::min(count, definition.operands.size() - 1)).placeholder);
    if (isBounded && count > most) return "there are too many arguments";
    return std::nullopt;
}

std::optional<std::string> complaintAboutID(const CommandDefinition& definition, const Invocation& invocation) {
    if (definition.operands.empty() || definition.operands.front().kind != ValueKind::serviceID) return std::nullopt;
    const auto wrongID =
        std::ranges::find_if(invocation.operands, [](const std::string& text) { return !FileID::parse(text); });
    if (wrongID == invocation.operands.end()) return std::nullopt;
    return fmt::format("'{}' is not an ID, which is a number", *wrongID);
}

WrongArguments wrong(std::string_view command, std::string_view message) {
    const std::string name = fmt::format("{}{}{}", programName, command.empty() ? "" : " ", command);
    return {fmt::format("{}: {}; see {} --help", name, message, name)};
}

Parsed generate(std::string_view what) {
    if (what == "man") return RequestedText{manPage(TOVRI_VERSION)};
    if (what == "bash") return RequestedText{bashCompletion()};
    if (what == "zsh") return RequestedText{zshCompletion()};
    return wrong("", "--generate makes man, bash or zsh");
}

// The command that the first words name, or what is to be said instead.
std::variant<const CommandDefinition*, RequestedText, WrongArguments> findCommand(
    const std::vector<std::string>& words) {
    const auto group = std::ranges::find(commandGroups(), words.front(), &CommandGroup::name);
    std::string name = words.front();
    if (group != commandGroups().end()) {
        if (words.size() == 1) return wrong(name, "a command is missing");
        if (words[1] == "--help" || words[1] == "-h") return RequestedText{groupHelp(*group)};
        name += " " + words[1];
    }
    const auto found = std::ranges::find(commandDefinitions(), name, &CommandDefinition::name);
    const bool isBlankTyped = words.front().contains(' ');  // what looks like two words is one
    if (found != commandDefinitions().end() && !isBlankTyped) return &*found;
    return wrong(group != commandGroups().end() ? group->name : "", fmt::format("there is no command '{}'", name));
}

// What "help" is asked for.
Parsed helpOn(const std::vector<std::string>& words) {
    if (words.empty()) return RequestedText{programHelp()};
    const auto group = std::ranges::find(commandGroups(), words.front(), &CommandGroup::name);
    if (words.size() == 1 && group != commandGroups().end()) return RequestedText{groupHelp(*group)};
    const auto found = findCommand(words);
    if (const auto* wrongWords = std::get_if<WrongArguments>(&found)) return *wrongWords;
    if (const auto* requested = std::get_if<RequestedText>(&found)) return *requested;
    return RequestedText{commandHelp(*std::get<const CommandDefinition*>(found))};
}

// What stands before the command.
std::optional<Parsed> parseGeneralFlags(const std::vector<std::string>& arguments) {
    if (arguments.empty()) return wrong("", "a command is missing");
    const std::string& first = arguments.front();
    if (first == "--help" || first == "-h" || first == "help") return helpOn({arguments.begin() + 1, arguments.end()});
    if (first == "--version") return RequestedText{std::string(versionText)};
    if (first == "--generate") return generate(arguments.size() > 1 ? arguments[1] : "");
    if (first.starts_with('-')) return wrong("", fmt::format("'{}' is not known here", first));
    return std::nullopt;
}

// The library's own words, as one part of a sentence.
std::string reasonOf(const CLI::ParseError& error) {
    std::string text = error.what();
    if (const std::size_t end = text.find('\n'); end != std::string::npos) text.resize(end);
    return text;
}

}  // namespace

Parsed parseArguments(std::vector<std::string> arguments) {
    if (std::optional<Parsed> general = parseGeneralFlags(arguments)) return std::move(*general);
    auto found = findCommand(arguments);
    if (auto* wrongWords = std::get_if<WrongArguments>(&found)) return std::move(*wrongWords);
    if (auto* requested = std::get_if<RequestedText>(&found)) return std::move(*requested);
    const CommandDefinition& definition = *std::get<const CommandDefinition*>(found);

    Invocation invocation{definition.command, {}, {}};
    CLI::App app;
    addArguments(app, definition, invocation);
    arguments.erase(arguments.begin(), arguments.begin() + (groupOf(definition) ? 2 : 1));
    const auto end = std::ranges::find(arguments, "--");
    if (std::any_of(arguments.begin(), end, [](const std::string& word) { return word == "--help" || word == "-h"; }))
        return RequestedText{commandHelp(definition)};
    try {
        std::ranges::reverse(arguments);  // as the library wants them
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return wrong(definition.name, reasonOf(error));
    }
    if (const auto complaint = complaintAboutCount(definition, invocation.operands.size()))
        return wrong(definition.name, *complaint);
    if (const auto complaint = complaintAboutID(definition, invocation)) return wrong(definition.name, *complaint);
    return invocation;
}

}  // namespace tovri::cli
