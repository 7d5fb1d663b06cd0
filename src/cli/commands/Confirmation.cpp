#include "cli/commands/Confirmation.h"

#include <utility>

#include "cli/commands/Question.h"

namespace tovri::cli {

std::optional<ExitCode> refusalToAsk(const CommandContext& context) {
    if (context.invocation.has("--yes") || context.terminal.canAsk()) return std::nullopt;
    return context.fail("there is no terminal to ask on, so nothing was done; --yes does it without asking.",
                        ExitCode::wrongArguments);
}

Task<std::optional<ExitCode>> refusalOfUser(CommandContext* context, std::string question, std::stop_token stop) {
    if (context->invocation.has("--yes")) co_return std::nullopt;
    if (const auto refused = refusalToAsk(*context)) co_return *refused;
    question += " [y/N] ";
    Result<std::optional<std::string>> answer =
        co_await ask(context->platform.loop, context->terminal, std::move(question), Terminal::Echo::shown, stop);
    if (isYes(answer)) co_return std::nullopt;
    co_return context->fail("nothing was done.");
}

}  // namespace tovri::cli
