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
    for (const PutIOFile& file : state().files())
        if (files.contains(file.id)) found.push_back(&file);
    return found;
}

// --- Downloading ---

void FileBrowserScreen::download(const FileIDs& files, std::optional<bool> deletes) {
    const FileBrowserState::Listing listing = state().listing();
    for (const PutIOFile* file : targets(files))
        if (!file->isFolder()) surroundings_.downloads.enqueue(*file, {.deleteAfterDownload = deletes});
}

void FileBrowserScreen::downloadFolder(const PutIOFile& folder, bool deletes) {
    DestinationFolder destination = surroundings_.downloads.resolveDestination(std::nullopt);
    destination.folder = subfolder(destination.folder, folder.name);
    scope_.start(queueFolder(
        {folderOf(folder.id), folder.name, std::move(destination), deletes, surroundings_.random.makeUUID()}));
}

Task<> FileBrowserScreen::queueFolder(DownloadManager::FolderRequest request) {
    request.onCut = [this](const Error& reason) { dialogs_.showFailure(reason); };
    (void)co_await surroundings_.downloads.enqueueFolder(std::move(request), scope_.stopToken());
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
    const PutIOFile* target = row ? fileAt(*row) : nullptr;
    state().uploadFiles(files, target && target->isFolder() ? folderOf(target->id) : state().currentFolderID());
}

std::string FileBrowserScreen::dragPayload(const FileIDs& files) const {
    return fileTransferPayload(targets(files));
}

bool FileBrowserScreen::acceptsDrop(std::size_t row, std::string_view payload) const {
    const PutIOFile* target = fileAt(row);
    if (!target || !target->isFolder()) return false;
    const std::optional<std::vector<FileTransfer>> dragged = parseFileTransfers(payload);
    return dragged && std::ranges::find(*dragged, target->id, &FileTransfer::fileID) == dragged->end();
}

void FileBrowserScreen::drop(std::size_t row, std::string_view payload) {
    if (!acceptsDrop(row, payload)) return;
    scope_.start(moveFiles(idsOf(parseFileTransfers(payload).value()), folderOf(fileAt(row)->id)));
}

Task<> FileBrowserScreen::moveFiles(std::vector<FileID> files, FolderID folder) {
    const Result<void> moved = co_await surroundings_.api.moveFiles(std::move(files), folder, scope_.stopToken());
    if (!moved) dialogs_.showFailure(moved.error());
    state().loadFiles();
}

}  // namespace tovri
