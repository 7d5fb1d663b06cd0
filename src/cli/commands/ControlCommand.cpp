#include "cli/commands/ControlCommand.h"

#include <unordered_map>

#include <fmt/format.h>

#include "cli/commands/ItemSelection.h"
#include "cli/commands/QueueEditing.h"
#include "downloads/saving/DownloadStore.h"

namespace tovri::cli {
namespace {

// A download that an automation rule has put into the queue.
struct RuleFile {
    UUID item;
    UUID rule;
    std::int64_t fileID;
    DownloadStatus status;
};

std::vector<RuleFile> ruleFilesOf(const QueueSnapshot& queue) {
    std::vector<RuleFile> files;
    for (const DownloadRecord& item : queue.downloads)
        if (item.syncRuleID) files.push_back({item.id, *item.syncRuleID, item.fileID, item.status});
    return files;
}

// A failed one that is gone is none: its rule queues it again as long as the file is there.
std::vector<RuleFile> settledAmong(std::vector<RuleFile> before, const QueueSnapshot& now) {
    std::unordered_map<UUID, DownloadStatus> statusOf;
    for (const DownloadRecord& item : now.downloads) statusOf.emplace(item.id, item.status);
    std::erase_if(before, [&](const RuleFile& file) {
        const auto found = statusOf.find(file.item);
        const bool isGone = found == statusOf.end();
        return isGone ? file.status == DownloadStatus::failed : found->second != DownloadStatus::cancelled;
    });
    return before;
}

}  // namespace

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
    const std::vector<RuleFile> before = ruleFilesOf(queue);
    const std::size_t count = change(queue, *selected);
    // Before the queue is saved: a process that dies in between leaves a queue in which nothing has changed.
    SyncManager& rules = context_.app.syncManager();
    for (const RuleFile& file : settledAmong(before, queue)) rules.fileSettled(file.rule, file.fileID);
    if (const Result<void> saved = rules.saveNow(); !saved) {
        context_.complain(saved.error());
        co_return ExitCode::failure;
    }
    const bool isQueuePaused = queue.isPaused;
    if (!store.save(std::move(queue), store.nextSaveNumber())) {
        context_.complain("the queue could not be saved; nothing was changed.");
        co_return ExitCode::failure;
    }
    tell(count, isQueuePaused);
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

void ControlCommand::tell(std::size_t count, bool isQueuePaused) const {
    const bool isWhole = context_.invocation.operands.empty();
    const auto print = [&](std::string_view what) { context_.terminal.print(fmt::format("{}: {}", what, count)); };
    switch (context_.invocation.command) {
        case CommandName::pause:
            return print(isWhole ? "The queue is paused. Downloads paused" : "Paused");
        case CommandName::resume:
            return print(isQueuePaused ? "To go on once tovri-cli resume lets the queue go on"
                                       : "To go on with tovri-cli run");
        case CommandName::cancel:
            return print("Cancelled");
        case CommandName::top:
            return print("Moved to the top");
        default:
            return print("Taken off the list");
    }
}

}  // namespace tovri::cli
