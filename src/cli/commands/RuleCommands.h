#pragma once

#include <string>

#include "cli/commands/Command.h"
#include "cli/commands/RemoteTree.h"

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
    Task<Result<SyncRule>> withFolder(SyncRule rule, std::string folder, std::stop_token stop);
    Result<void> applyLocalFolder(SyncRule& rule, const std::string& folder) const;
    void applyOptions(SyncRule& rule) const;

    // Waits for the inventory of a rule that has been made or has begun anew; says how many files it found.
    Task<Result<std::string>> inventoryOf(UUID rule, std::stop_token stop);

    // What is wrong with the arguments; empty when nothing is.
    [[nodiscard]] virtual std::string objection() const;

private:
    // What was done, in one line.
    virtual Task<Result<std::string>> change(std::stop_token stop) = 0;

    CommandContext& context_;
    RemoteTree tree_;
};

// rules add
class RuleAddCommand final : public RuleChangeCommand {
public:
    explicit RuleAddCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    Task<Result<std::string>> change(std::stop_token stop) override;
};

// rules edit
class RuleEditCommand final : public RuleChangeCommand {
public:
    explicit RuleEditCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    [[nodiscard]] std::string objection() const override;
    Task<Result<std::string>> change(std::stop_token stop) override;
};

// rules enable, rules disable and rules rm
class RuleStepCommand final : public RuleChangeCommand {
public:
    explicit RuleStepCommand(CommandContext& context) : RuleChangeCommand(context) {}

private:
    Task<Result<std::string>> change(std::stop_token stop) override;
};

}  // namespace tovri::cli
