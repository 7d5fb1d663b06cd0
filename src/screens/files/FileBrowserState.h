#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "base/UUID.h"
#include "platform/MainLoop.h"
#include "platform/RandomSource.h"
#include "screens/files/FileArrangement.h"
#include "screens/files/FolderHistory.h"
#include "service/PutIOAPI.h"
#include "service/records/ListingContinuation.h"
#include "uploads/Uploads.h"

namespace tovri {

using FileIDs = std::unordered_set<FileID>;

// What the file browser shows: one put.io folder, the way to it, the selection, the uploads. Owned by the application
// object and older than any screen, so that the browser is found as it was left. Decides nothing about texts.
class FileBrowserState {
public:
    enum class Field {
        files,
        breadcrumbs,
        selectedFiles,
        sortOrder,
        searchText,
        isLoading,
        error,
        cut,
        isUploading,
        hasLoaded,
        uploadTotal,
        pendingUploads,
        sentBytes,  // of any upload
        failedUploads,
    };

    // A listing as it was received. Whoever holds it keeps it as it is.
    using Listing = FileArrangement::Listing;

    // Both outlive the state.
    FileBrowserState(MainLoop& loop, RandomSource& random);

    // `api` outlives the state. Nothing loads or uploads before.
    void configure(PutIOAPI& api);

    // --- What is shown ---

    // In the service's order.
    [[nodiscard]] const std::vector<PutIOFile>& files() const { return *files_; }

    [[nodiscard]] const Listing& listing() const { return files_; }

    [[nodiscard]] const std::vector<Breadcrumb>& breadcrumbs() const { return breadcrumbs_; }

    [[nodiscard]] FolderID currentFolderID() const;

    [[nodiscard]] const FileIDs& selectedFiles() const { return selectedFiles_; }

    [[nodiscard]] SortOrder sortOrder() const { return sortOrder_; }

    [[nodiscard]] const std::string& searchText() const { return searchText_; }

    [[nodiscard]] bool isLoading() const { return isLoading_; }

    // Whether the files are still those of another folder than the breadcrumbs lead to.
    [[nodiscard]] bool isStale() const { return isLoading_ && filesFolderID_ != currentFolderID(); }

    // Why the last load of this folder failed.
    [[nodiscard]] const std::optional<std::string>& error() const { return error_; }

    // Why the folder shows only its beginning, when its rest could not be had.
    [[nodiscard]] const std::optional<std::string>& cut() const { return cut_; }

    // The user has seen it.
    void dismissCut();

    // Whether any load has succeeded.
    [[nodiscard]] bool hasLoaded() const { return hasLoaded_; }

    // The listing, filtered and sorted. The pointers are good as long as the present listing() is held.
    [[nodiscard]] std::vector<const PutIOFile*> displayedFiles(const TextCollation& collation);

    void setSelectedFiles(FileIDs ids);
    void setSortOrder(SortOrder order);
    void setSearchText(std::string text);

    // Loads the current folder, a long one in several steps, of which the first ends the loading and the others append
    // files. A newer load supersedes it at any time: what it brings then is dropped.
    void loadFiles();

    // A folder that is on the way already is gone back to.
    void navigateInto(const PutIOFile& folder);

    // Back to the breadcrumb; the last one loads its folder again, one that does not exist does nothing.
    void navigateToBreadcrumb(std::size_t index);

    [[nodiscard]] const FolderHistory& history() const { return history_; }

    // Nothing happens where there is nothing that way.
    void goUp();
    void goBack();
    void goForward();

    // Back to an empty root, for another user. What is being loaded is dropped.
    void reset();

    // --- Uploads ---

    // Those into all folders, and what is known of each.
    [[nodiscard]] Uploads& uploads() { return uploads_; }

    [[nodiscard]] bool isUploading() const { return uploads_.isUploading(); }

    [[nodiscard]] std::int64_t uploadTotal() const { return uploads_.total(); }

    [[nodiscard]] const std::vector<PendingUpload>& pendingUploads() const { return uploads_.pending(); }

    [[nodiscard]] double uploadProgress() const { return uploads_.progress(); }

    // The folder is loaded again after each that arrived, if it is the one shown.
    void uploadFiles(const std::vector<std::filesystem::path>& files, FolderID folderID) {
        uploads_.start(files, folderID);
    }

    void cancelUpload(const PendingUpload& upload) { uploads_.cancel(upload); }

    // Told after the state is consistent, only when the value differs.
    Subscription onChange(std::function<void(Field)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    template <class T>
    void assign(Field field, T& member, T value);

    void tellChanges();
    void enter(FolderPath path);
    void show(FolderPath path);
    void setFiles(std::vector<PutIOFile> files);
    [[nodiscard]] bool isCurrent(FolderID folderID, const UUID& request) const;
    Task<> load(FolderID folderID, UUID request);
    Task<> loadRest(FolderID folderID, UUID request, ListingContinuation rest);
    void appendFiles(std::vector<PutIOFile>& more);
    Task<> loadAgainLater(FolderID folderID, std::stop_token stop);
    void loadAfterUpload(FolderID folderID);

    MainLoop& loop_;
    RandomSource& random_;
    PutIOAPI* api_ = nullptr;

    Listing files_;
    FolderID filesFolderID_ = rootFolderID;  // whose listing they are
    FolderHistory history_;
    FileArrangement arrangement_;
    std::vector<Breadcrumb> breadcrumbs_;
    FileIDs selectedFiles_;
    SortOrder sortOrder_ = SortOrder::name;
    std::string searchText_;
    bool isLoading_ = false;
    std::optional<std::string> error_;
    std::optional<std::string> cut_;
    bool hasLoaded_ = false;
    UUID currentLoadRequestID_;   // of the newest load
    std::vector<Field> changed_;  // assigned, not told yet
    Signal<Field> changes_;
    Uploads uploads_;
    Subscription followingUploads_;
    Subscription followingArrivals_;
    TaskScope scope_;
};

}  // namespace tovri
