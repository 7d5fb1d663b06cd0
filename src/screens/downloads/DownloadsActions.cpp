// What the user does in DownloadsScreen.

#include <algorithm>
#include <ranges>
#include <string_view>

#include "downloads/list/ListedName.h"
#include "screens/downloads/DownloadsScreen.h"

namespace tovri {
namespace {

using Status = DownloadStatus;

// Whether several items have it done to them from the last to the first, to keep their order.
bool goesUpwards(DownloadAction action) {
    return action == DownloadAction::moveToTop || action == DownloadAction::moveDown;
}

}  // namespace

void DownloadsScreen::perform(QueueAction action) {
    switch (action) {
        case QueueAction::pauseAll:
            return manager_.pauseAll();
        case QueueAction::resumeAll:
            return manager_.resumeAll();
        case QueueAction::cancelAll:
            return manager_.cancelAll();
        case QueueAction::clearFinished:
            return manager_.clearFinished();
        case QueueAction::retryFailed:
            for (const ConstDownloadPointer& item : manager_.downloads().withStatus(Status::failed))
                manager_.retry(item);
            return;
        case QueueAction::showFailed:
            return;
    }
}

void DownloadsScreen::search(std::string text) {
    if (text == searchText()) return;
    chrome_.searchText = std::move(text);
    if (searchText().empty()) names_.forget();
    const auto isNamedSo = [this, wanted = collation_.searchKey(searchText())](const Download& item) {
        return names_.contains(item, wanted);
    };
    rows_.setFilter(searchText().empty() ? QueueRows::Filter() : isNamedSo);
    changes_.tell({ScreenChange::Kind::chrome});
}

void DownloadsScreen::showBatches(bool shows) {
    if (shows == showsBatches()) return;
    preferences_.setShowsBatches(shows);
    arrangeRows();
}

void DownloadsScreen::orderFinished(FinishedOrder order) {
    if (order == finishedOrder()) return;
    preferences_.setFinishedOrder(order);
    arrangeRows();
}

void DownloadsScreen::arrangeRows() {
    rows_.arrange({.isInBatches = showsBatches(), .order = RowOrder(finishedOrder(), collation_)});
    changes_.tell({ScreenChange::Kind::chrome});
}

std::vector<std::size_t> DownloadsScreen::failedRows() const {
    std::vector<std::size_t> found;
    for (std::size_t row = 0; row < rows_.count(); ++row) {
        const auto [item, batch] = rows_.at(row);
        const bool isItem = item && item->status == Status::failed;
        const bool isBatch = !item && batch && !batch->isOpen && batch->sums.count(Status::failed) > 0;
        if (isItem || isBatch) found.push_back(row);
    }
    return found;
}

void DownloadsScreen::perform(DownloadAction action, const UUID& id) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (item && isOffered(action, *item)) act(action, item);
}

void DownloadsScreen::perform(DownloadAction action, const std::vector<UUID>& ids) {
    if (ids.size() == 1) return perform(action, ids.front());
    std::vector<ConstDownloadPointer> items;
    for (const UUID& id : ids)
        if (ConstDownloadPointer item = manager_.downloads().find(id)) items.push_back(std::move(item));
    std::ranges::sort(items, {}, [](const ConstDownloadPointer& item) { return item->position; });
    if (goesUpwards(action)) std::ranges::reverse(items);
    items.erase(items.begin(), items.begin() + stuckCount(action, items));
    std::erase_if(items, [action](const ConstDownloadPointer& item) { return !isOffered(action, *item); });
    // At one stroke: the end of one does not start another, and all of them can be taken back.
    if (action == DownloadAction::cancel) return manager_.cancel(items);
    if (action == DownloadAction::remove) return manager_.remove(items);
    for (const ConstDownloadPointer& item : items)
        if (isOffered(action, *item)) act(action, item);
}

// How many of the first ones fill the end of the queue towards which they are to move: none can pass another there.
std::ptrdiff_t DownloadsScreen::stuckCount(DownloadAction action,
                                           const std::vector<ConstDownloadPointer>& items) const {
    const ItemOrder& queue = manager_.downloads().items();
    if (action == DownloadAction::moveUp) return std::ranges::mismatch(items, queue).in1 - items.begin();
    if (action != DownloadAction::moveDown) return 0;
    return std::ranges::mismatch(items, queue | std::views::reverse).in1 - items.begin();
}

void DownloadsScreen::activate(const UUID& id) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (!item) return;
    if (const auto action = primaryAction(*item)) act(*action, item);
}

void DownloadsScreen::act(DownloadAction action, const ConstDownloadPointer& item) {
    switch (action) {
        case DownloadAction::pause:
            return manager_.pause(item);
        case DownloadAction::resume:
            return manager_.resume(item);
        case DownloadAction::cancel:
            return manager_.cancel(item);
        case DownloadAction::retry:
            return manager_.retry(item);
        case DownloadAction::retryDelete:
            return manager_.retryDelete(item);
        case DownloadAction::deleteAnyway:
            return askToDeleteAnyway(*item);
        case DownloadAction::useFolderAnyway:
            return manager_.useFolderAnyway(item);
        case DownloadAction::useAnyAccount:
            return manager_.useAnyAccount(item);
        case DownloadAction::moveToTop:
            return manager_.moveToTop(item);
        case DownloadAction::moveUp:
            return manager_.moveUp(item);
        case DownloadAction::moveDown:
            return manager_.moveDown(item);
        case DownloadAction::remove:
            return manager_.remove(item);
        case DownloadAction::reveal:
            if (item->resolvedURL) workspace_.revealFile(*item->resolvedURL);
            return;
        case DownloadAction::open:
            if (item->resolvedURL) workspace_.openFile(*item->resolvedURL);
            return;
    }
}

void DownloadsScreen::askToDeleteAnyway(const Download& item) {
    const std::string missing = item.error.value_or("");
    const char* scope = item.folderDeleteID ? " Its whole folder is deleted from put.io, with all that it holds."
                                            : " It is deleted from put.io all the same.";
    dialogs_.ask({random_.makeUUID(), "Delete “" + item.fileName + "” from put.io anyway?", missing + scope,
                  "Delete from put.io", [this, id = item.id, missing] { return deleteAnyway(id, missing); }});
}

// Only what the user has read is agreed to.
Task<Result<void>> DownloadsScreen::deleteAnyway(UUID id, std::string missing) {
    const ConstDownloadPointer item = manager_.downloads().find(id);
    if (item && canDeleteAnyway(*item) && item->error == missing) manager_.deleteAnyway(item);
    co_return Result<void>();
}

}  // namespace tovri
