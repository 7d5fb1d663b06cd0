#include "cli/arguments/ManPage.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {
namespace {

// Text that roff prints as it stands, wherever it stands: a hyphen as it is typed, no control line, no escape.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else if (c == '.' || c == '\'')
            result += result.empty() || result.back() == '\n' ? fmt::format("\\&{}", c) : std::string(1, c);
        else
            result += c;
    }
    return result;
}

std::string paragraphs(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\n\n"), text.size());
        result += ".PP\n" + escaped(text.substr(0, end)) + "\n";
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    return result;
}

std::string entry(std::string_view term, std::string_view text) {
    return fmt::format(".TP\n\\fB{}\\fR\n{}\n", escaped(term), escaped(text));
}

std::string commandSection(const CommandDefinition& definition) {
    std::string text = fmt::format(".SS {}\n\\fB{}\\fR\n", escaped(definition.name), escaped(synopsis(definition)));
    std::string summary = fmt::format("{}.", definition.summary);
    summary.front() = static_cast<char>(summary.front() - 'a' + 'A');
    text += paragraphs(summary) + paragraphs(definition.description);
    for (const OperandDefinition& operand : definition.operands)
        text += entry(operand.placeholder, fmt::format("{}.", operand.help));
    for (const FlagDefinition& flag : definition.flags) text += entry(flagForm(flag), fmt::format("{}.", flag.help));
    return text;
}

}  // namespace

std::string manPage(std::string_view version) {
    std::string text = fmt::format(".TH TOVRI\\-CLI 1 \"\" \"Tovri {}\" \"User Commands\"\n", version);
    text += fmt::format(".SH NAME\n{} \\- {}\n", escaped(programName), escaped(programSummary));
    text += fmt::format(".SH SYNOPSIS\n\\fB{}\\fR \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n", escaped(programName));
    text += ".SH DESCRIPTION\n";
    for (const HelpSection& section : helpSections())
        text += fmt::format(".SS {}\n", section.title) + paragraphs(section.text);
    text += ".SH COMMANDS\n";
    for (const CommandDefinition& definition : commandDefinitions()) text += commandSection(definition);
    const auto list = [&text](std::string_view title, std::span<const HelpEntry> entries) {
        text += fmt::format(".SH {}\n", title);
        for (const HelpEntry& each : entries) text += entry(each.term, each.text);
    };
    list("EXIT STATUS", exitStatuses());
    list("ENVIRONMENT", environmentVariables());
    list("FILES", files());
    return text;
}

}  // namespace tovri::cli
