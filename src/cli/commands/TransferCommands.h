#pragma once

#include "cli/commands/Command.h"
#include "cli/commands/files/RemoteTree.h"
#include "service/records/Transfer.h"

namespace tovri::cli {

// transfers list
class TransferListCommand final : public Command {
public:
    explicit TransferListCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

// transfers add
class TransferAddCommand final : public Command {
public:
    explicit TransferAddCommand(CommandContext& context) : context_(context), tree_(context.api) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<Transfer>> add(std::string url, std::stop_token stop);

    CommandContext& context_;
    RemoteTree tree_;
};

// What is done to one transfer, which must be in a state for it.
class TransferStepCommand : public Command {
public:
    Task<ExitCode> run(std::stop_token stop) final;

protected:
    explicit TransferStepCommand(CommandContext& context) : context_(context) {}

    [[nodiscard]] CommandContext& context() const { return context_; }

private:
    // The transfer that the command names.
    Task<Result<Transfer>> find(std::stop_token stop);

    // Why it cannot be done; empty when it can.
    [[nodiscard]] virtual std::string objection(const Transfer& transfer) const = 0;

    virtual Task<Result<void>> perform(TransferID id, std::stop_token stop) = 0;

    // What is said when it is done.
    [[nodiscard]] virtual std::string_view done() const = 0;

    CommandContext& context_;
};

// transfers cancel
class TransferCancelCommand final : public TransferStepCommand {
public:
    explicit TransferCancelCommand(CommandContext& context) : TransferStepCommand(context) {}

private:
    [[nodiscard]] std::string objection(const Transfer& transfer) const override;
    Task<Result<void>> perform(TransferID id, std::stop_token stop) override;

    [[nodiscard]] std::string_view done() const override { return "Cancelled"; }
};

// transfers retry
class TransferRetryCommand final : public TransferStepCommand {
public:
    explicit TransferRetryCommand(CommandContext& context) : TransferStepCommand(context) {}

private:
    [[nodiscard]] std::string objection(const Transfer& transfer) const override;
    Task<Result<void>> perform(TransferID id, std::stop_token stop) override;

    [[nodiscard]] std::string_view done() const override { return "Trying again"; }
};

// transfers clean
class TransferCleanCommand final : public Command {
public:
    explicit TransferCleanCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

}  // namespace tovri::cli
