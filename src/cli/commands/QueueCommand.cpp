#include "cli/commands/QueueCommand.h"

#include "cli/display/QueueListing.h"
#include "downloads/DownloadStore.h"

namespace tovri::cli {

Task<ExitCode> QueueCommand::run(std::stop_token /*stop*/) {
    DownloadStore store(context_.platform);
    const QueueSnapshot queue = store.load();
    if (context_.invocation.has("--json")) {
        context_.terminal.print(queueJSON(queue));
        co_return ExitCode::success;
    }
    for (const std::string& line : listQueue(queue, context_.platform.clock.now())) context_.terminal.print(line);
    co_return ExitCode::success;
}

}  // namespace tovri::cli
