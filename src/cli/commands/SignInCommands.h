#pragma once

#include "cli/commands/Command.h"

namespace tovri::cli {

class LoginCommand final : public Command {
public:
    explicit LoginCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<std::string>> newToken(std::stop_token stop);
    ExitCode keep(const std::string& token, const Result<PutIOAccount>& account);

    CommandContext& context_;
};

class LogoutCommand final : public Command {
public:
    explicit LogoutCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

// status: who is signed in, with the space of the account, and what the queue holds.
class StatusCommand final : public Command {
public:
    explicit StatusCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<std::optional<Result<PutIOAccount>>> account();
    void printJSON(const QueueSnapshot& queue, const std::optional<Result<PutIOAccount>>& account) const;
    [[nodiscard]] std::string signInText(const std::optional<Result<PutIOAccount>>& account) const;

    CommandContext& context_;
};

}  // namespace tovri::cli
