#pragma once

#include <functional>
#include <memory>
#include <stop_token>

#include "base/Task.h"
#include "cli/CommandContext.h"
#include "cli/ExitCode.h"

namespace tovri::cli {

// One command at work.
class Command {
public:
    Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    virtual ~Command() = default;

    virtual Task<ExitCode> run(std::stop_token stop) = 0;

    // The user wants it to end: brings what is under way to a safe rest and calls `done`, soon in any case.
    virtual void interrupt(std::function<void(ExitCode)> done) { done(ExitCode::interrupted); }
};

// The command that the context's invocation names. `context` outlives it.
[[nodiscard]] std::unique_ptr<Command> makeCommand(CommandContext& context);

}  // namespace tovri::cli
