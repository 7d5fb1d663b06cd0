#pragma once

#include "cli/commands/Command.h"

namespace tovri::cli {

// queue: the saved queue, grouped as people look at it.
class QueueCommand final : public Command {
public:
    explicit QueueCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    CommandContext& context_;
};

}  // namespace tovri::cli
