// What the user does in FileBrowserScreen.

#include <algorithm>

#include "downloads/placing/Destination.h"
#include "screens/files/FileBrowserScreen.h"
#include "screens/files/FileTransfer.h"

namespace tovri {
namespace {

std::string deletionTitle(const std::vector<const PutIOFile*>& targets) {
    if (targets.size() == 1) return "Delete “" + targets.front()->name + "”?";
    return "Delete " + std::to_string(targets.size()) + " items?";
}

std::vector<FileID> idsOf(const std::vector<FileTransfer>& transfers) {
    std::vector<FileID> ids;
    for (const FileTransfer& transfer : transfers) ids.push_back(transfer.fileID);
    return ids;
}

}  // namespace

void FileBrowserScreen::perform(FileToolbarAction action) {
    switch (action) {
        case FileToolbarAction::download:
            download(selection(), std::nullopt);
            break;
        case FileToolbarAction::sortByName:
            state().setSortOrder(SortOrder::name);
            break;
        case FileToolbarAction::sortBySize:
            state().setSortOrder(SortOrder::size);
            break;
        case FileToolbarAction::sortByDate:
            state().setSortOrder(SortOrder::date);
            break;
        case FileToolbarAction::chooseUploads:
            break;
        case FileToolbarAction::refresh:
            refresh();
            break;
    }
}

void FileBrowserScreen::perform(FileMenuAction action, const FileIDs& files) {
    const std::vector<const PutIOFile*> chosen = targets(files);
    if (chosen.empty()) return;
    const PutIOFile first = *chosen.front();
    switch (action) {
        case FileMenuAction::open:
            state().navigateInto(first);
            break;
        case FileMenuAction::download:
            download(files, std::nullopt);
            break;
        case FileMenuAction::downloadAndDelete:
            download(files, true);
            break;
        case FileMenuAction::downloadFolder:
            downloadFolder(first, surroundings_.preferences.deleteAfterDownload());
            break;
        case FileMenuAction::downloadFolderAndDelete:
            downloadFolder(first, true);
            break;
        case FileMenuAction::copyDownloadLink:
            scope_.start(copyDownloadLink(first.id));
            break;
        case FileMenuAction::openInPutIO:
            openInPutIO(first);
            break;
        case FileMenuAction::remove:
            askToDelete(files);
            break;
    }
}

void FileBrowserScreen::perform(FileRowAction action, std::size_t row) {
    if (row >= uploads_.rows().size()) return;
    const PendingUpload upload = uploads_.rows()[row].upload;
    switch (action) {
        case FileRowAction::cancelUpload:
            return state().cancelUpload(upload);
        case FileRowAction::retryUpload:
            return state().uploads().retry(upload.id);
        case FileRowAction::dismissUpload:
            return state().uploads().dismiss(upload.id);
    }
}

void FileBrowserScreen::perform(DetailsAction action) {
    const std::vector<const PutIOFile*> chosen = targets(selection());
    if (action == DetailsAction::openOnPutIO && chosen.size() == 1) openInPutIO(*chosen.front());
}

void FileBrowserScreen::activate(const FileIDs& files) {
    const std::vector<const PutIOFile*> chosen = targets(files);
    if (chosen.empty()) return;
    const PutIOFile first = *chosen.front();
    if (first.isFolder())
        state().navigateInto(first);
    else
        download({first.id}, std::nullopt);
}

std::vector<const PutIOFile*> FileBrowserScreen::targets(const FileIDs& files) const {
    std::vector<const PutIOFile*> found;
    if (files.empty() || isInert()) return found;
    for (const PutIOFile& file : state().files())
        if (files.contains(file.id)) found.push_back(&file);
    return found;
}

// --- Downloading ---

void FileBrowserScreen::download(const FileIDs& files, std::optional<bool> deletes) {
    const FileBrowserState::Listing listing = state().listing();
    std::vector<const PutIOFile*> wanted = targets(files);
    std::erase_if(wanted, [](const PutIOFile* file) { return file->isFolder(); });
    DownloadManager::EnqueueOptions options{.deleteAfterDownload = deletes};
    if (wanted.size() > 1) options.batchID = surroundings_.downloads.newBatchID();
    for (const PutIOFile* file : wanted) surroundings_.downloads.enqueue(*file, options);
    if (!wanted.empty()) answerQueued(wanted.size(), "");
}

void FileBrowserScreen::answerQueued(std::size_t count, const std::string& where) {
    const std::string files = count == 1 ? "1 file" : std::to_string(count) + " files";
    surroundings_.notices.tell(
        {.text = files + where + " queued.", .action = "Show", .perform = surroundings_.showDownloads});
}

void FileBrowserScreen::downloadFolder(const PutIOFile& folder, bool deletes) {
    DestinationFolder destination = surroundings_.downloads.resolveDestination(std::nullopt);
    destination.folder = subfolder(destination.folder, folder.name);
    scope_.start(queueFolder(
        {folderOf(folder.id), folder.name, std::move(destination), deletes, surroundings_.random.makeUUID()}));
}

Task<> FileBrowserScreen::queueFolder(DownloadManager::FolderRequest request) {
    Notices& notices = surroundings_.notices;
    const std::string name = "“" + request.name + "”";
    request.onCut = [&notices](const Error& reason) {
        notices.tell({.kind = Notice::Kind::failure, .text = reason.description});
    };
    const Result<std::vector<ConstDownloadPointer>> queued =
        co_await surroundings_.downloads.enqueueFolder(std::move(request), scope_.stopToken());
    if (queued && queued->empty())
        notices.tell({.text = name + " has no files."});
    else if (queued)
        answerQueued(queued->size(), " of " + name);
    else if (!queued.error().isCancellation())
        notices.tell({.kind = Notice::Kind::failure,
                      .text = name + " could not be listed for download: " + queued.error().description});
}

Task<> FileBrowserScreen::copyDownloadLink(FileID file) {
    const Result<std::string> link = co_await surroundings_.api.getDownloadURL(file, scope_.stopToken());
    if (link)
        surroundings_.workspace.setClipboardText(*link);
    else
        dialogs_.showFailure(link.error());
}

void FileBrowserScreen::openInPutIO(const PutIOFile& file) {
    const std::string pages = surroundings_.api.hosts().web + "/files/";
    const std::string id = file.id.text();
    surroundings_.workspace.openWebAddress(
        file.isFolder() ? pages + id : pages + file.parentID.value_or(rootFolderID).text() + "?selected=" + id);
}

// --- Deleting ---

void FileBrowserScreen::askToDelete(const FileIDs& files) {
    const std::vector<const PutIOFile*> doomed = targets(files);
    if (doomed.empty()) return;
    std::vector<FileID> ids;
    for (const PutIOFile* file : doomed) ids.push_back(file->id);
    dialogs_.ask({surroundings_.random.makeUUID(), deletionTitle(doomed),
                  "This permanently removes it from your put.io account and can't be undone.", "Delete from put.io",
                  [this, ids = std::move(ids)] { return deleteFiles(ids); }});
}

Task<Result<void>> FileBrowserScreen::deleteFiles(std::vector<FileID> files) {
    Result<void> deleted = co_await surroundings_.api.deleteFiles(files, scope_.stopToken());
    if (!deleted) co_return failure(deleted);
    FileIDs left = selection();
    for (const FileID file : files) left.erase(file);
    state().setSelectedFiles(std::move(left));
    state().loadFiles();
    co_return Result<void>();
}

// --- Dragging and dropping ---

void FileBrowserScreen::upload(const std::vector<std::filesystem::path>& files, std::optional<std::size_t> row) {
    const PutIOFile* target = row && !isInert() ? fileAt(*row) : nullptr;
    state().uploadFiles(files, target && target->isFolder() ? folderOf(target->id) : state().currentFolderID());
}

std::string FileBrowserScreen::dragPayload(const FileIDs& files) const {
    return fileTransferPayload(targets(files));
}

bool FileBrowserScreen::acceptsDrop(std::size_t row, std::string_view payload) const {
    const PutIOFile* target = isInert() ? nullptr : fileAt(row);
    if (!target || !target->isFolder()) return false;
    const std::optional<std::vector<FileTransfer>> dragged = parseFileTransfers(payload);
    return dragged && std::ranges::find(*dragged, target->id, &FileTransfer::fileID) == dragged->end();
}

void FileBrowserScreen::drop(std::size_t row, std::string_view payload) {
    if (!acceptsDrop(row, payload)) return;
    const PutIOFile& target = *fileAt(row);
    moveTo(idsOf(parseFileTransfers(payload).value()), {folderOf(target.id), target.name});
}

// The folder on view is no folder to move its own files to.
bool FileBrowserScreen::breadcrumbAcceptsDrop(std::size_t index, std::string_view payload) const {
    return !isInert() && index + 1 < breadcrumbs().size() && parseFileTransfers(payload);
}

void FileBrowserScreen::dropOnBreadcrumb(std::size_t index, std::string_view payload) {
    if (breadcrumbAcceptsDrop(index, payload)) moveTo(idsOf(parseFileTransfers(payload).value()), breadcrumbs()[index]);
}

void FileBrowserScreen::uploadToBreadcrumb(std::size_t index, const std::vector<std::filesystem::path>& files) {
    if (index < breadcrumbs().size()) state().uploadFiles(files, breadcrumbs()[index].id);
}

// --- Moving ---

void FileBrowserScreen::moveTo(std::vector<FileID> files, const Breadcrumb& folder) {
    scope_.start(moveFiles(std::move(files), folder, breadcrumbs().back()));
}

// From where they can be moved back to; from nowhere, they are moved back.
Task<> FileBrowserScreen::moveFiles(std::vector<FileID> files, Breadcrumb folder, std::optional<Breadcrumb> origin) {
    const Result<void> moved = co_await surroundings_.api.moveFiles(files, folder.id, scope_.stopToken());
    const std::string what = files.size() == 1 ? "1 file" : std::to_string(files.size()) + " files";
    Notice answer{.text = what + " moved " + (origin ? "to " : "back to ") + folder.name + "."};
    if (origin) {
        answer.action = "Move Back";
        answer.perform = [this, files, origin] { scope_.start(moveFiles(files, *origin, std::nullopt)); };
    }
    if (moved)
        surroundings_.notices.tell(std::move(answer));
    else
        dialogs_.showFailure(moved.error());
    state().loadFiles();
}

// --- Ways ---

bool FileBrowserScreen::canGo(FolderWay way) const {
    switch (way) {
        case FolderWay::up:
            return breadcrumbs().size() > 1;
        case FolderWay::back:
            return state().history().canGoBack();
        case FolderWay::forward:
            return state().history().canGoForward();
    }
    return false;
}

void FileBrowserScreen::go(FolderWay way) {
    switch (way) {
        case FolderWay::up:
            return state().goUp();
        case FolderWay::back:
            return state().goBack();
        case FolderWay::forward:
            return state().goForward();
    }
}

void FileBrowserScreen::openPlaceholder() {
    if (!state().error() && isFilteredEmpty())
        search("");
    else
        state().loadFiles();
}

}  // namespace tovri
