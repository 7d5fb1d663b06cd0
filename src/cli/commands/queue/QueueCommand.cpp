#include "cli/commands/queue/QueueCommand.h"

#include "cli/commands/queue/SavedQueue.h"
#include "cli/display/QueueListing.h"

namespace tovri::cli {

Task<ExitCode> QueueCommand::run(std::stop_token /*stop*/) {
    const Result<QueueSnapshot> queue = readSavedQueue(context_.platform);
    if (!queue) co_return context_.fail(queue.error().description);
    if (context_.invocation.has("--json")) {
        context_.terminal.print(queueJSON(*queue));
        co_return ExitCode::success;
    }
    for (const std::string& line : listQueue(*queue, context_.platform.clock.now())) context_.terminal.print(line);
    co_return ExitCode::success;
}

}  // namespace tovri::cli
