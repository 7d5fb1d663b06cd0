#include "cli/arguments/Completion.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {
namespace {

// The action of a bash `case` for a value of this kind; empty when there is nothing to offer.
std::string bashAction(ValueKind kind, const std::vector<std::string_view>& choices) {
    switch (kind) {
        case ValueKind::localFile:
            return "compopt -o filenames; COMPREPLY=($(compgen -f -- \"$word\"))";
        case ValueKind::localFolder:
            return "compopt -o filenames; COMPREPLY=($(compgen -d -- \"$word\"))";
        case ValueKind::choice:
            return fmt::format("COMPREPLY=($(compgen -W \"{}\" -- \"$word\"))", fmt::join(choices, " "));
        case ValueKind::text:
        case ValueKind::number:
        case ValueKind::rate:
        case ValueKind::serviceID:
            break;
    }
    return ":";
}

std::string bashCommand(const CommandDefinition& definition) {
    std::string values;
    std::vector<std::string_view> names{"--help"};
    for (const FlagDefinition& flag : definition.flags) {
        names.push_back(flag.name);
        if (!flag.placeholder.empty())
            values +=
                fmt::format("                {}) {}; return ;;\n", flag.name, bashAction(flag.kind, flag.choices));
    }
    std::string text = fmt::format("        \"{}\")\n", definition.name);
    if (!values.empty()) text += "            case $previous in\n" + values + "            esac\n";
    text += fmt::format("            flags=\"{}\"\n", fmt::join(names, " "));
    if (!definition.operands.empty() && bashAction(definition.operands.front().kind, {}) != ":") {
        const OperandDefinition& first = definition.operands.front();
        text +=
            fmt::format("            [[ $word == -* ]] || {{ {}; return; }}\n", bashAction(first.kind, first.choices));
    }
    return text + "            ;;\n";
}

// Text inside single quotes in zsh's _arguments: brackets and colons have a meaning there.
std::string zshEscaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '[' || c == ']' || c == ':') result += '\\';
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result;
}

std::string zshAction(ValueKind kind, const std::vector<std::string_view>& choices) {
    switch (kind) {
        case ValueKind::localFile:
            return "_files";
        case ValueKind::localFolder:
            return "_files -/";
        case ValueKind::choice:
            return fmt::format("({})", fmt::join(choices, " "));
        case ValueKind::text:
        case ValueKind::number:
        case ValueKind::rate:
        case ValueKind::serviceID:
            break;
    }
    return " ";
}

std::string zshCommand(const CommandDefinition& definition) {
    std::string text =
        fmt::format("        \"{}\")\n            _arguments '(-h --help)'{{-h,--help}}'[show help]'", definition.name);
    for (const FlagDefinition& flag : definition.flags) {
        text += fmt::format(" \\\n                '{}[{}]", flag.name, zshEscaped(flag.help));
        if (!flag.placeholder.empty())
            text += fmt::format(":{}:{}", flag.placeholder, zshAction(flag.kind, flag.choices));
        text += "'";
    }
    for (const OperandDefinition& operand : definition.operands)
        text += fmt::format(" \\\n                '{}:{}:{}'", operand.most == 1 ? ":" : "*", operand.placeholder,
                            zshAction(operand.kind, operand.choices));
    return text + "\n            ;;\n";
}

// For a group's name: offers its commands, or else goes on with both words as the command.
std::string bashGroup(const CommandGroup& group) {
    std::vector<std::string_view> words;
    for (const CommandDefinition& definition : commandsOf(group)) words.push_back(lastWordOf(definition));
    return fmt::format(R"(        {})
            if ((COMP_CWORD == 2)); then
                COMPREPLY=($(compgen -W "{} --help" -- "$word"))
                return
            fi
            command+=" ${{COMP_WORDS[2]}}" ;;
)",
                       group.name, fmt::join(words, " "));
}

std::string zshGroup(const CommandGroup& group) {
    std::string commands;
    for (const CommandDefinition& definition : commandsOf(group))
        commands += fmt::format("                '{}:{}'\n", lastWordOf(definition), zshEscaped(definition.summary));
    return fmt::format(R"(        {})
            commands=(
{}            )
            if ((CURRENT == 2)); then
                _describe command commands
                return
            fi
            command+=" $words[2]"
            words=("${{words[@]:1}}")
            ((CURRENT--)) ;;
)",
                       group.name, commands);
}

}  // namespace

std::string bashCompletion() {
    std::vector<std::string_view> names;
    for (const HelpEntry& word : firstWords()) names.push_back(word.term);
    std::string groups;
    for (const CommandGroup& group : commandGroups()) groups += bashGroup(group);
    std::string cases;
    for (const CommandDefinition& definition : commandDefinitions()) cases += bashCommand(definition);
    return fmt::format(R"(# bash completion for {0}

_tovri_cli() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} flags=
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "{1} --help --version" -- "$word"))
        return
    fi
    local command=${{COMP_WORDS[1]}}
    case $command in
{2}    esac
    case $command in
{3}    esac
    COMPREPLY=($(compgen -W "$flags" -- "$word"))
}}

complete -F _tovri_cli {0}
)",
                       programName, fmt::join(names, " "), groups, cases);
}

std::string zshCompletion() {
    std::string commands;
    for (const HelpEntry& word : firstWords())
        commands += fmt::format("        '{}:{}'\n", word.term, zshEscaped(word.text));
    std::string groups;
    for (const CommandGroup& group : commandGroups()) groups += zshGroup(group);
    std::string cases;
    for (const CommandDefinition& definition : commandDefinitions()) cases += zshCommand(definition);
    return fmt::format(R"(#compdef {0}

_tovri_cli() {{
    local -a commands=(
{1}    )
    if ((CURRENT == 2)); then
        _describe command commands
        return
    fi
    local command=$words[2]
    words=("${{words[@]:1}}")
    ((CURRENT--))
    case $command in
{2}    esac
    case $command in
{3}    esac
}}

_tovri_cli "$@"
)",
                       programName, commands, groups, cases);
}

}  // namespace tovri::cli
