#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/commands/Command.h"

namespace tovri::cli {

// config
class ConfigCommand final : public Command {
public:
    explicit ConfigCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    [[nodiscard]] std::string valueOf(std::string_view key) const;

    // The reason why the value cannot be used; none when it was stored.
    std::optional<std::string> assign(std::string_view key, const std::string& value);
    void print() const;
    void printJSON() const;

    CommandContext& context_;
};

// A whole number from 1 on.
[[nodiscard]] std::optional<std::int64_t> parseCount(std::string_view text);

// "true" or "false", "yes" or "no", "on" or "off".
[[nodiscard]] std::optional<bool> parseFlag(std::string_view text);

// The stored word, or the one that --on-conflict takes.
[[nodiscard]] std::optional<ConflictBehavior> parseBehavior(std::string_view text);

}  // namespace tovri::cli
