#include "screens/window/ContentScreen.h"

#include <algorithm>
#include <cstdint>

namespace tovri {
namespace {

std::size_t countActive(const DownloadList& list) {
    return list.count({DownloadStatus::downloading, DownloadStatus::awaitingConflict, DownloadStatus::deleting});
}

std::optional<UploadPanel> makeUploadPanel(const FileBrowserState& files) {
    if (!files.isUploading()) return std::nullopt;
    const std::int64_t total = files.uploadTotal();
    const std::int64_t done = std::max<std::int64_t>(total - std::ssize(files.pendingUploads()), 0);
    return UploadPanel{std::to_string(done) + "/" + std::to_string(total), files.uploadProgress()};
}

}  // namespace

ContentScreen::ContentScreen(AuthManager& auth, DownloadManager& manager, FileBrowserState& files, EntryPorts entries)
    : auth_(auth),
      manager_(manager),
      files_(files),
      entries_(entries),
      activeDownloads_(countActive(manager.downloads())),
      uploadPanel_(makeUploadPanel(files)),
      signIn_(auth.onChange([this](AuthManager::Change change) {
          if (change == AuthManager::Change::isAuthenticated) changes_.tell(Change::content);
      })),
      queue_(manager.onChange([this](const QueueChange& change) { followQueue(change); })),
      uploads_(files.onChange([this](FileBrowserState::Field) { updateUploads(); })) {
    updateConflict();
}

// --- What is shown ---

std::string_view ContentScreen::windowTitle() const {
    return showsSections() && selectedItem_ ? title(*selectedItem_) : "Tovri";
}

std::optional<Placeholder> ContentScreen::placeholder() const {
    if (selectedItem_) return std::nullopt;
    return Placeholder{Placeholder::Kind::message, "sidebar.left", "Select a section",
                       "Choose an item from the sidebar.", ""};
}

std::string ContentScreen::badge(SidebarItem item) const {
    return item == SidebarItem::downloads && activeDownloads_ > 0 ? std::to_string(activeDownloads_) : "";
}

// --- What changes ---

void ContentScreen::followQueue(const QueueChange& change) {
    if (change.kind == QueueChange::Kind::progress) return;
    if (change.kind == QueueChange::Kind::conflict) return updateConflict();
    const std::size_t active = countActive(manager_.downloads());
    if (std::exchange(activeDownloads_, active) != active) changes_.tell(Change::badge);
}

void ContentScreen::updateUploads() {
    std::optional<UploadPanel> panel = makeUploadPanel(files_);
    if (uploadPanel_ == panel) return;
    uploadPanel_ = std::move(panel);
    changes_.tell(Change::uploads);
}

// The switch belongs to one sheet: the next conflict's is off again.
void ContentScreen::updateConflict() {
    const FileConflict* pending = manager_.pendingConflict();
    const auto shown = conflictSheet_ ? std::optional(conflictSheet_->id) : std::nullopt;
    if (shown == (pending ? std::optional(pending->id) : std::nullopt)) return;
    looking_.request_stop();
    conflictSheet_ = pending ? std::optional(tovri::conflictSheet(*pending)) : std::nullopt;
    if (pending) {
        looking_ = std::stop_source();
        scope_.start(describe(&ConflictSheet::existing, pending->existingURL, looking_.get_token()));
        scope_.start(describe(&ConflictSheet::arriving, pending->tempURL, looking_.get_token()));
    }
    changes_.tell(Change::conflict);
}

Task<> ContentScreen::describe(std::string ConflictSheet::* line, std::filesystem::path file, std::stop_token stop) {
    std::string text = co_await describeEntry(entries_, std::move(file), stop);
    if (stop.stop_requested()) co_return;
    (*conflictSheet_).*line = std::move(text);
    changes_.tell(Change::conflict);
}

// --- What the user does ---

void ContentScreen::select(std::optional<SidebarItem> item) {
    if (!showsSections() || selectedItem_ == item) return;
    selectedItem_ = item;
    changes_.tell(Change::selection);
}

void ContentScreen::selectByDigit(int digit) {
    const auto item = std::ranges::find(allSidebarItems, digit, shortcutDigit);
    if (item != allSidebarItems.end()) select(*item);
}

void ContentScreen::setApplyToAll(bool applies) {
    if (!conflictSheet_ || conflictSheet_->applyToAll == applies) return;
    conflictSheet_->applyToAll = applies;
    changes_.tell(Change::conflict);
}

void ContentScreen::answer(const UUID& conflict, ConflictChoice choice) {
    const FileConflict* pending = manager_.pendingConflict();
    if (!pending || pending->id != conflict || !conflictSheet_ || conflictSheet_->id != conflict) return;
    manager_.resolveConflict(choice, conflictSheet_->applyToAll);
}

}  // namespace tovri
