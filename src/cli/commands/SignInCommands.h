#pragma once

#include "cli/commands/Command.h"

namespace tovri::cli {

class LoginCommand final : public Command {
public:
    explicit LoginCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    Task<Result<void>> signIn(std::stop_token stop);
    Task<Result<void>> signInWithToken(std::stop_token stop);

    CommandContext& context_;
};

class LogoutCommand final : public Command {
public:
    explicit LogoutCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

// status: who is signed in, and what the queue holds. Asks the service nothing.
class StatusCommand final : public Command {
public:
    explicit StatusCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    [[nodiscard]] std::string signInText() const;

    CommandContext& context_;
};

}  // namespace tovri::cli
