#pragma once

#include <optional>
#include <string>

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"

namespace tovri::cli {

// rules list
class RuleListCommand final : public Command {
public:
    explicit RuleListCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

// What changes a rule, or makes one, and says how it went.
class RuleChangeCommand : public Command {
public:
    Task<ExitCode> run(std::stop_token stop) final;

protected:
    explicit RuleChangeCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    [[nodiscard]] CommandContext& context() const { return context_; }

    [[nodiscard]] SyncManager& sync() const { return context_.app.syncManager(); }

    // The rule that the first operand names.
    [[nodiscard]] Result<SyncRule> namedRule() const;

    // The rule with what the arguments say: the folder on put.io, the local one, deletion and interval.
    // Both folders are looked at: a rule that could not work is not made.
    Task<Result<SyncRule>> withFolder(SyncRule rule, std::string folder, std::stop_token stop);
    Task<Result<SyncRule>> withLocalFolder(SyncRule rule, std::string folder, std::stop_token stop);
    void applyOptions(SyncRule& rule) const;

    // Waits for the inventory of a rule that has been made or has begun anew; says how many files it found.
    Task<Result<std::string>> inventoryOf(UUID rule, std::stop_token stop);

    // What is wrong with the arguments; empty when nothing is.
    [[nodiscard]] virtual std::string objection() const;

    // What was done, in one line, and to which rule; how the command ends when the user did not mean it.
    struct Changed {
        std::string text;
        UUID rule;
        std::optional<ExitCode> refusal = std::nullopt;
    };

    // Whether it asks put.io anything, and whether what it takes away does not come back.
    [[nodiscard]] virtual bool asksService() const { return true; }

    [[nodiscard]] virtual bool mustBeMeant() const { return false; }

private:
    virtual Task<Result<Changed>> change(std::stop_token stop) = 0;

    CommandContext& context_;
    RemoteTree tree_;
};

// rules add
class RuleAddCommand final : public RuleChangeCommand {
public:
    explicit RuleAddCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    Task<Result<Changed>> change(std::stop_token stop) override;
};

// rules edit
class RuleEditCommand final : public RuleChangeCommand {
public:
    explicit RuleEditCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    [[nodiscard]] std::string objection() const override;
    Task<Result<Changed>> change(std::stop_token stop) override;
};

// rules enable, rules disable and rules rm
class RuleStepCommand final : public RuleChangeCommand {
public:
    explicit RuleStepCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    [[nodiscard]] bool asksService() const override { return false; }

    [[nodiscard]] bool mustBeMeant() const override { return context().invocation.command == CommandName::rulesRemove; }

    Task<Result<Changed>> change(std::stop_token stop) override;
};

}  // namespace tovri::cli
