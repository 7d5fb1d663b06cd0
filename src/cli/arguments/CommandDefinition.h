#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tovri::cli {

// What a value stands for: how it is checked, and what the shell completes.
enum class ValueKind {
    text,
    localFile,
    localFolder,
    number,     // whole, from 1 on
    rate,       // bytes a second, as parseRate reads them
    serviceID,  // what put.io has given as an ID; all operands of the command are such
    choice,     // one of a fixed list
};

// An option. Without `placeholder` it is a switch, which takes no value.
struct FlagDefinition {
    std::string_view name;         // "--to"
    std::string_view placeholder;  // "DIR"
    std::string_view help;         // one sentence without its full stop
    ValueKind kind = ValueKind::text;
    std::vector<std::string_view> choices = {};
};

// What stands behind the command's name.
struct OperandDefinition {
    std::string_view placeholder;  // "PATH"
    std::string_view help;
    int least = 0;
    int most = 0;  // 0: any number
    ValueKind kind = ValueKind::text;
    std::vector<std::string_view> choices = {};
};

enum class CommandName {
    login,
    logout,
    status,
    ls,
    get,
    run,
    queue,
    retry,
    pause,
    resume,
    cancel,
    remove,
    top,
    clear,
    put,
    mv,
    rm,
    link,
    config,
    watch,
    rulesList,
    rulesAdd,
    rulesEdit,
    rulesEnable,
    rulesDisable,
    rulesRemove,
    rulesSync,
    transfersList,
    transfersAdd,
    transfersCancel,
    transfersRetry,
    transfersClean,
    feedsList,
    feedsAdd,
    feedsEdit,
    feedsPause,
    feedsResume,
    feedsRemove
};

// Whether a command needs the data folder for itself.
enum class QueueUse { none, owns };

// One command. The parser, the help texts, the man page and the completions are all made from this.
struct CommandDefinition {
    CommandName command;
    std::string_view name;         // "ls"; of a group's command both words, "transfers list"
    std::string_view summary;      // one line, without a full stop
    std::string_view description;  // paragraphs, separated by an empty line
    std::vector<OperandDefinition> operands;
    std::vector<FlagDefinition> flags;
    QueueUse queue = QueueUse::none;
};

// Commands that share their first word.
struct CommandGroup {
    std::string_view name;
    std::string_view summary;  // one line, without a full stop
};

// A heading with paragraphs, for what concerns every command.
struct HelpSection {
    std::string_view title;
    std::string_view text;
};

// A word and what it means: an exit status, a variable of the environment, a file.
struct HelpEntry {
    std::string_view term;
    std::string_view text;
};

inline constexpr std::string_view programName = "tovri-cli";
inline constexpr std::string_view programSummary = "downloads files and folders from put.io";

[[nodiscard]] std::span<const CommandDefinition> commandDefinitions();
[[nodiscard]] const CommandDefinition& definitionOf(CommandName command);

[[nodiscard]] std::span<const CommandGroup> commandGroups();

// The group's own commands, in their order.
[[nodiscard]] std::vector<CommandDefinition> commandsOf(const CommandGroup& group);

// The group of a command; null when it stands for itself.
[[nodiscard]] const CommandGroup* groupOf(const CommandDefinition& definition);

// The command's word behind the group's, or its only one.
[[nodiscard]] std::string_view lastWordOf(const CommandDefinition& definition);

// A first word that can be typed, with what it is there for: each command that stands for itself, and each group.
[[nodiscard]] std::vector<HelpEntry> firstWords();

[[nodiscard]] std::span<const HelpSection> helpSections();
[[nodiscard]] std::span<const HelpEntry> exitStatuses();
[[nodiscard]] std::span<const HelpEntry> environmentVariables();
[[nodiscard]] std::span<const HelpEntry> files();

// "tovri-cli get PATH... [--to DIR] [--delete]"
[[nodiscard]] std::string synopsis(const CommandDefinition& definition);

// "--to DIR", "--on-conflict ask|keep-both|replace|skip"
[[nodiscard]] std::string flagForm(const FlagDefinition& flag);

}  // namespace tovri::cli
