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
    std::string text = fmt::format("        {})\n", definition.name);
    if (!values.empty()) text += "            case $previous in\n" + values + "            esac\n";
    text += fmt::format("            flags=\"{}\"\n", fmt::join(names, " "));
    if (!definition.operands.empty() && definition.operands.front().kind != ValueKind::text) {
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
            break;
    }
    return " ";
}

std::string zshCommand(const CommandDefinition& definition) {
    std::string text =
        fmt::format("        {})\n            _arguments '(-h --help)'{{-h,--help}}'[show help]'", definition.name);
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

}  // namespace

std::string bashCompletion() {
    std::vector<std::string_view> names;
    std::string cases;
    for (const CommandDefinition& definition : commandDefinitions()) {
        names.push_back(definition.name);
        cases += bashCommand(definition);
    }
    return fmt::format(R"(# bash completion for {0}

_tovri_cli() {{
    local word=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} flags=
    if ((COMP_CWORD == 1)); then
        COMPREPLY=($(compgen -W "{1} --help --version" -- "$word"))
        return
    fi
    case ${{COMP_WORDS[1]}} in
{2}    esac
    COMPREPLY=($(compgen -W "$flags" -- "$word"))
}}

complete -F _tovri_cli {0}
)",
                       programName, fmt::join(names, " "), cases);
}

std::string zshCompletion() {
    std::string commands;
    std::string cases;
    for (const CommandDefinition& definition : commandDefinitions()) {
        commands += fmt::format("        '{}:{}'\n", definition.name, zshEscaped(definition.summary));
        cases += zshCommand(definition);
    }
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
}}

_tovri_cli "$@"
)",
                       programName, commands, cases);
}

}  // namespace tovri::cli
