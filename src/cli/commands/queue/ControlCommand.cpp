#include "cli/commands/queue/ControlCommand.h"

#include <ranges>

#include <fmt/format.h>

#include "cli/commands/queue/ItemSelection.h"

namespace tovri::cli {

using Status = Download::Status;

Task<ExitCode> ControlCommand::run(std::stop_token /*stop*/) {
    DownloadManager& queue = context_.app.downloadManager();
    queue.openForEditing();
    queue.setOnSyncFileSettled(
        [&rules = context_.app.syncManager()](const UUID& rule, FileID fileID) { rules.fileSettled(rule, fileID); });
    const Result<std::vector<ConstDownloadPointer>> selected = selectedItems();
    if (!selected) co_return context_.fail(selected.error());
    const std::size_t count = selected->empty() ? changeQueue() : changeItems(*selected);
    if (const Result<void> saved = save(); !saved) co_return context_.fail(saved.error());
    tell(count);
    ExitCode code = ExitCode::success;
    for (const ConstDownloadPointer& item : *selected)
        if (!isAsAsked(*item))
            code = context_.fail(fmt::format("{} is {}, and stays so.", item->fileName, rawValue(item->status)));
    co_return code;
}

Result<std::vector<ConstDownloadPointer>> ControlCommand::selectedItems() const {
    const DownloadList& list = context_.app.downloadManager().downloads();
    std::vector<UUID> ids;
    for (const ConstDownloadPointer& item : list.items()) ids.push_back(item->id);
    Result<std::vector<UUID>> selected = selectItems(context_.invocation.operands, ids);
    if (!selected) return failure(selected);
    std::vector<ConstDownloadPointer> items;
    for (const UUID& id : *selected) items.push_back(list.find(id));
    return items;
}

std::size_t ControlCommand::changeQueue() {
    DownloadManager& queue = context_.app.downloadManager();
    const DownloadList& list = queue.downloads();
    const auto changed = [&](Status to, auto operation) {
        const std::size_t before = list.count(to);
        (queue.*operation)();
        return list.count(to) - before;
    };
    switch (context_.invocation.command) {
        case CommandName::pause:
            return changed(Status::paused, &DownloadManager::pauseAll);
        case CommandName::resume:
            return changed(Status::queued, &DownloadManager::resumeAll);
        case CommandName::cancel:
            return changed(Status::cancelled, &DownloadManager::cancelAll);
        default:
            const std::vector<ConstDownloadPointer> finished = queue.finishedDownloads();
            queue.clearFinished();
            for (const ConstDownloadPointer& item : finished) settle(*item);
            return finished.size();
    }
}

std::size_t ControlCommand::changeItems(const std::vector<ConstDownloadPointer>& items) {
    DownloadManager& queue = context_.app.downloadManager();
    if (context_.invocation.command == CommandName::top) {
        for (const ConstDownloadPointer& item : items | std::views::reverse) queue.moveToTop(item);
        return items.size();
    }
    std::size_t count = 0;
    for (const ConstDownloadPointer& item : items) {
        const Status before = item->status;
        const bool wasHeld = item->hold != nullptr;
        change(item);
        if (item->status != before || (wasHeld && !item->hold) || !queue.downloads().contains(*item)) ++count;
    }
    return count;
}

void ControlCommand::change(const ConstDownloadPointer& item) {
    DownloadManager& queue = context_.app.downloadManager();
    switch (context_.invocation.command) {
        case CommandName::pause:
            return queue.pause(item);
        case CommandName::resume:
            if (item->status == Status::queued && item->hold && item->account) return queue.useAnyAccount(item);
            return queue.resume(item);
        case CommandName::cancel:
            if (!isFinished(item->status) && item->status != Status::deleting) queue.cancel(item);
            return;
        default:
            queue.remove(item);
            return settle(*item);
    }
}

// An item that leaves may have ended in the moment before a process died, and its rule not know it yet.
void ControlCommand::settle(const Download& item) {
    if (item.syncRuleID && isSettled(item.status))
        context_.app.syncManager().fileSettled(*item.syncRuleID, item.fileID);
}

// Whether a download that was named is now as the command would have it.
bool ControlCommand::isAsAsked(const Download& item) const {
    const bool isOver = isFinished(item.status) || item.status == Status::deleting;
    switch (context_.invocation.command) {
        case CommandName::pause:
            return item.status == Status::paused;
        case CommandName::resume:
            return item.status != Status::paused && !isOver;
        case CommandName::cancel:
            return item.status == Status::cancelled;
        case CommandName::remove:
            return !context_.app.downloadManager().downloads().contains(item);
        default:
            return true;
    }
}

// The rules first: a process that dies in between leaves a queue in which nothing has changed.
Result<void> ControlCommand::save() {
    if (Result<void> saved = context_.app.syncManager().saveNow(); !saved) return saved;
    if (context_.app.downloadManager().saveNow()) return {};
    return failure(Error(ErrorCase::file, "the queue could not be saved; nothing was changed."));
}

void ControlCommand::tell(std::size_t count) const {
    const bool isWhole = context_.invocation.operands.empty();
    const bool isQueuePaused = context_.app.downloadManager().isPaused();
    const auto print = [&](std::string_view what) { context_.tellDone(fmt::format("{}: {}", what, count)); };
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
