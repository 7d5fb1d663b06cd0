#include "cli/arguments/HelpText.h"

#include <algorithm>

#include <fmt/format.h>

namespace tovri::cli {
namespace {

constexpr std::size_t helpWidth = 80;

// A term in its column, its text beside it or, when the term is too long, below.
std::string entry(std::string_view term, std::string_view text, std::size_t column) {
    const std::string beside = wrapped(text, helpWidth, column);
    if (term.size() + 4 > column) return fmt::format("  {}\n{}", term, beside);
    return fmt::format("  {:<{}}{}", term, column - 2,
                       std::string_view(beside).substr(std::min(column, beside.size())));
}

std::string paragraphs(std::string_view text, std::size_t indent) {
    std::string result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\n\n"), text.size());
        result += wrapped(text.substr(0, end), helpWidth, indent);
        text.remove_prefix(std::min(end + 2, text.size()));
        if (!text.empty()) result += "\n";
    }
    return result;
}

std::string sentence(std::string_view text) {
    std::string result(text);
    if (result.empty()) return result;
    if (result.front() >= 'a' && result.front() <= 'z') result.front() = static_cast<char>(result.front() - 'a' + 'A');
    return result + ".";
}

}  // namespace

std::string wrapped(std::string_view text, std::size_t width, std::size_t indent) {
    std::string result;
    std::string line;
    const auto endLine = [&] {
        result += std::string(indent, ' ') + line + "\n";
        line.clear();
    };
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
        const std::string_view word = text.substr(0, end);
        if (!line.empty() && indent + line.size() + 1 + word.size() > width) endLine();
        if (!word.empty()) line += (line.empty() ? "" : " ") + std::string(word);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (!line.empty()) endLine();
    return result;
}

std::string programHelp() {
    std::string text = fmt::format("{} {}.\n\nUsage: {} COMMAND [ARGUMENT...]\n\nCommands:\n", programName,
                                   programSummary, programName);
    for (const HelpEntry& word : firstWords()) text += entry(word.term, word.text, 12);
    text += fmt::format("\n{} COMMAND --help explains a command. --version shows the version.\n", programName);
    for (const HelpSection& section : helpSections())
        text += fmt::format("\n{}:\n{}", section.title, paragraphs(section.text, 2));
    text += "\nExit status:\n";
    for (const HelpEntry& status : exitStatuses()) text += entry(status.term, status.text, 8);
    text += "\nEnvironment:\n";
    for (const HelpEntry& variable : environmentVariables()) text += entry(variable.term, variable.text, 20);
    text += "\nFiles:\n";
    for (const HelpEntry& file : files()) text += entry(file.term, file.text, 28);
    return text;
}

std::string groupHelp(const CommandGroup& group) {
    std::string text = fmt::format("Usage: {0} {1} COMMAND [ARGUMENT...]\n\n{2}\nCommands:\n", programName, group.name,
                                   wrapped(sentence(group.summary), helpWidth, 0));
    for (const CommandDefinition& definition : commandsOf(group))
        text += entry(lastWordOf(definition), definition.summary, 12);
    return text + fmt::format("\n{} {} COMMAND --help explains a command.\n", programName, group.name);
}

std::string commandHelp(const CommandDefinition& definition) {
    std::string text = "Usage: " + wrapped(synopsis(definition), helpWidth, 7).substr(7);
    text += "\n" + wrapped(sentence(definition.summary), helpWidth, 0);
    if (!definition.description.empty()) text += "\n" + paragraphs(definition.description, 0);
    if (!definition.operands.empty()) text += "\n";
    for (const OperandDefinition& operand : definition.operands)
        text += entry(operand.placeholder, std::string(operand.help) + ".", 20);
    text += "\n";
    for (const FlagDefinition& flag : definition.flags) text += entry(flagForm(flag), std::string(flag.help) + ".", 20);
    return text + entry("-h, --help", "Show this help.", 20);
}

}  // namespace tovri::cli
