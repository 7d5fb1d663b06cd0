#include "screens/files/FileBrowserScreen.h"

#include <utility>

#include "screens/files/FileDetails.h"
#include "screens/files/FileTransfer.h"
#include "screens/files/FolderSummary.h"

namespace tovri {

FileBrowserScreen::FileBrowserScreen(const Surroundings& surroundings)
    : surroundings_(surroundings),
      moveSheet_(surroundings.api, surroundings.random,
                 [this](std::vector<FileID> files, const Breadcrumb& folder) { moveTo(std::move(files), folder); }),
      followingState_(state().onChange([this](FileBrowserState::Field field) { follow(field); })),
      followingUploads_(
          state().uploads().onFailure([this](std::string message) { dialogs_.showFailure(std::move(message)); })),
      followingDialogs_(dialogs_.onChange([this] { changes_.tell({}); })) {
    showUploads();
    showFiles();
}

void FileBrowserScreen::appear() {
    if (!state().hasLoaded()) state().loadFiles();
}

void FileBrowserScreen::disappear() {
    dialogs_.clear();
    moveSheet_.close();
}

// --- Following the state ---

void FileBrowserScreen::follow(FileBrowserState::Field field) {
    using Field = FileBrowserState::Field;
    if (field == Field::pendingUploads || field == Field::sentBytes || field == Field::failedUploads ||
        field == Field::breadcrumbs)
        showUploads();
    if (field == Field::files || field == Field::searchText || field == Field::sortOrder) showFiles();
    changes_.tell({});
}

void FileBrowserScreen::showFiles() {
    std::vector<const PutIOFile*> rows = state().displayedFiles(surroundings_.collation);
    const auto previous = std::exchange(listing_, state().listing());  // the rows leave it step by step
    files_.replace(
        std::move(rows), [this](const ScreenChange& change) { changes_.tell(change); }, uploads_.rows().size());
}

void FileBrowserScreen::showUploads() {
    const Uploads& uploads = state().uploads();
    const FolderID folder = state().currentFolderID();
    std::vector<UploadEntry> rows;
    for (const PendingUpload& upload : uploads.pending())
        if (upload.folderID == folder) rows.push_back({upload, uploads.sent(upload.id)});
    for (const FailedUpload& failed : uploads.failed())
        if (failed.upload.folderID == folder) rows.push_back({.upload = failed.upload, .failure = failed.reason});
    uploads_.replace(std::move(rows), [this](const ScreenChange& change) { changes_.tell(change); });
}

// --- What is seen ---

std::optional<Banner> FileBrowserScreen::banner() const {
    if (!state().cut()) return std::nullopt;
    return Banner{"exclamationmark.triangle.fill", Tint::attention, cutListingText("this folder", *state().cut()),
                  "Dismiss"};
}

std::optional<Placeholder> FileBrowserScreen::placeholder() const {
    const bool isEmpty = state().files().empty();
    if (state().isLoading() && isEmpty) return progressPlaceholder("Loading files...");
    if (state().error()) return errorPlaceholder(*state().error());
    if (isEmpty && state().hasLoaded())
        return Placeholder{Placeholder::Kind::message, "folder", "Empty Folder", "This folder has no files.", ""};
    if (isFilteredEmpty()) return noMatchesPlaceholder(searchText());
    return std::nullopt;
}

bool FileBrowserScreen::isFilteredEmpty() const {
    return rowCount() == 0 && !searchText().empty() && !state().files().empty();
}

std::string FileBrowserScreen::footer() const {
    if (isInert() || placeholder()) return {};
    return folderSummary(files_.rows().size(), targets(selection()));
}

Details FileBrowserScreen::details() const {
    return fileDetails(targets(selection()), surroundings_.clock);
}

std::vector<ToolbarItem<FileToolbarAction>> FileBrowserScreen::toolbar() const {
    using Item = ToolbarItem<FileToolbarAction>;
    return {{.action = FileToolbarAction::download,
             .title = "Download",
             .symbol = "arrow.down.circle",
             .help = "Download selected files",
             .isEnabled = !selection().empty()},
            sortMenu(),
            {.kind = Item::Kind::progress, .isVisible = state().isUploading()},
            {.action = FileToolbarAction::chooseUploads,
             .title = "Upload",
             .symbol = "arrow.up.circle",
             .help = "Upload files to this folder",
             .isEnabled = !state().isUploading()},
            {.action = FileToolbarAction::refresh, .title = "Refresh", .symbol = "arrow.clockwise"},
            {.kind = Item::Kind::searchField, .title = "Filter files"}};
}

ToolbarItem<FileToolbarAction> FileBrowserScreen::sortMenu() const {
    using Item = ToolbarItem<FileToolbarAction>;
    const SortOrder order = state().sortOrder();
    return {.kind = Item::Kind::menu,
            .title = "Sort",
            .symbol = "arrow.up.arrow.down",
            .choices = {{FileToolbarAction::sortByName, "Name", order == SortOrder::name},
                        {FileToolbarAction::sortBySize, "Size", order == SortOrder::size},
                        {FileToolbarAction::sortByDate, "Date", order == SortOrder::date}}};
}

FileRow FileBrowserScreen::row(std::size_t index) const {
    if (index < uploads_.rows().size()) return fileRow(uploads_.rows()[index]);
    const PutIOFile* file = fileAt(index);
    return file ? fileRow(*file) : FileRow();
}

const PutIOFile* FileBrowserScreen::fileAt(std::size_t row) const {
    const std::size_t uploads = uploads_.rows().size();
    return row < uploads || row >= rowCount() ? nullptr : files_.rows()[row - uploads];
}

std::vector<MenuItem<FileMenuAction>> FileBrowserScreen::menu(const FileIDs& files) const {
    return fileMenu(targets(files));
}

FileChooser FileBrowserScreen::uploadChooser() {
    return {FileChooser::Target::files, "Select files to upload to put.io", "Upload"};
}

}  // namespace tovri
