#pragma once

#include "cli/commands/Command.h"
#include "downloads/saving/QueueSnapshot.h"

namespace tovri::cli {

// pause, resume, cancel, remove, top and clear, on the saved queue.
class ControlCommand final : public Command {
public:
    explicit ControlCommand(CommandContext& context) : context_(context) {}

    Task<ExitCode> run(std::stop_token stop) override;

private:
    std::size_t change(QueueSnapshot& queue, const std::vector<UUID>& items) const;
    void tell(std::size_t count, bool isQueuePaused) const;

    CommandContext& context_;
};

}  // namespace tovri::cli
