#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cli/arguments/CommandDefinition.h"

namespace tovri::cli {

// One command with its checked arguments.
struct Invocation {
    CommandName command;
    std::map<std::string, std::string, std::less<>> flags;  // by name; a switch that is set has an empty value
    std::vector<std::string> operands;

    [[nodiscard]] bool has(std::string_view flag) const { return flags.contains(flag); }

    [[nodiscard]] std::optional<std::string> value(std::string_view flag) const {
        const auto found = flags.find(flag);
        return found == flags.end() ? std::nullopt : std::optional(found->second);
    }
};

// A text that the user asked for instead of a command: help, the version, the man page, a completion.
struct RequestedText {
    std::string text;
};

// Arguments that cannot be understood, in one line that says what to do.
struct WrongArguments {
    std::string message;
};

// `arguments` are those behind the program's name.
[[nodiscard]] std::variant<Invocation, RequestedText, WrongArguments> parseArguments(
    std::vector<std::string> arguments);

}  // namespace tovri::cli
