#include "cli/commands/ControlCommand.h"

#include <fmt/format.h>

#include "cli/commands/ItemSelection.h"
#include "cli/commands/QueueEditing.h"
#include "downloads/DownloadStore.h"

namespace tovri::cli {

Task<ExitCode> ControlCommand::run(std::stop_token /*stop*/) {
    DownloadStore store(context_.platform);
    QueueSnapshot queue = store.load();
    std::vector<UUID> ids;
    ids.reserve(queue.downloads.size());
    for (const DownloadRecord& item : queue.downloads) ids.push_back(item.id);

    const Result<std::vector<UUID>> selected = selectItems(context_.invocation.operands, ids);
    if (!selected) {
        context_.complain(selected.error());
        co_return ExitCode::failure;
    }
    const std::size_t count = change(queue, *selected);
    if (!store.save(std::move(queue), store.nextSaveNumber())) {
        context_.complain("the queue could not be saved; nothing was changed.");
        co_return ExitCode::failure;
    }
    tell(count);
    co_return ExitCode::success;
}

std::size_t ControlCommand::change(QueueSnapshot& queue, const std::vector<UUID>& items) const {
    const Timestamp now = context_.platform.clock.now();
    switch (context_.invocation.command) {
        case CommandName::pause:
            return items.empty() ? pauseQueue(queue) : pauseItems(queue, items);
        case CommandName::resume:
            return items.empty() ? resumeQueue(queue) : resumeItems(queue, items);
        case CommandName::cancel:
            return items.empty() ? cancelAllItems(queue, now) : cancelItems(queue, items, now);
        case CommandName::remove:
            return removeItems(queue, items);
        case CommandName::top:
            return moveItemsToTop(queue, items);
        default:
            return removeFinishedItems(queue);
    }
}

void ControlCommand::tell(std::size_t count) const {
    const bool isWhole = context_.invocation.operands.empty();
    const auto print = [&](std::string_view what) { context_.terminal.print(fmt::format("{}: {}", what, count)); };
    switch (context_.invocation.command) {
        case CommandName::pause:
            return print(isWhole ? "The queue is paused. Downloads paused" : "Paused");
        case CommandName::resume:
            return print("To go on with tovri-cli run");
        case CommandName::cancel:
            return print("Cancelled");
        case CommandName::top:
            return print("Moved to the top");
        default:
            return print("Taken off the list");
    }
}

}  // namespace tovri::cli
