#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "base/Signal.h"
#include "base/TaskScope.h"
#include "base/UUID.h"
#include "platform/Platform.h"
#include "screens/files/FileArrangement.h"
#include "screens/files/FolderHistory.h"
#include "service/ListingContinuation.h"
#include "service/PutIOAPI.h"

namespace tovri {

// A local file on its way into a put.io folder.
struct PendingUpload {
    UUID id;
    std::string name;  // of the local file
    FolderID folderID;

    bool operator==(const PendingUpload&) const = default;
};

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
    };

    // A listing as it was received. Whoever holds it keeps it as it is.
    using Listing = FileArrangement::Listing;

    // What `platform` names outlives the state.
    explicit FileBrowserState(const Platform& platform);

    // `api` outlives the state. Nothing loads or uploads before.
    void configure(PutIOAPI& api) { api_ = &api; }

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

    [[nodiscard]] bool isUploading() const { return isUploading_; }

    // How many files the present batch has had, counted until its last one has ended.
    [[nodiscard]] std::int64_t uploadTotal() const { return uploadTotal_; }

    [[nodiscard]] const std::vector<PendingUpload>& pendingUploads() const { return pendingUploads_; }

    [[nodiscard]] double uploadProgress() const;

    // Starts all at once. The folder is loaded again after each that arrived, if it is the one shown.
    void uploadFiles(const std::vector<std::filesystem::path>& files, FolderID folderID);

    // A copy: the list that may hold it shrinks.
    void cancelUpload(PendingUpload upload);

    // Told after the state is consistent, only when the value differs.
    Subscription onChange(std::function<void(Field)> tell) { return changes_.subscribe(std::move(tell)); }

    // An upload failed; the message is for the user. A cancelled one is not told.
    Subscription onUploadFailure(std::function<void(std::string message)> tell) {
        return uploadFailures_.subscribe(std::move(tell));
    }

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
    Task<> upload(std::filesystem::path file, PendingUpload pending, std::stop_token stop);
    Task<> loadAgainLater(FolderID folderID, std::stop_token stop);
    void finishUpload(const PendingUpload& upload);
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
    bool isUploading_ = false;
    bool hasLoaded_ = false;
    UUID currentLoadRequestID_;  // of the newest load
    std::int64_t uploadTotal_ = 0;
    std::vector<PendingUpload> pendingUploads_;               // in the order of their start
    std::unordered_map<UUID, std::stop_source> uploadTasks_;  // by PendingUpload::id
    std::vector<Field> changed_;                              // assigned, not told yet
    Signal<Field> changes_;
    Signal<std::string> uploadFailures_;
    TaskScope scope_;
};

}  // namespace tovri
