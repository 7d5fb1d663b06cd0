#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "downloads/DownloadManager.h"
#include "platform/Workspace.h"
#include "screens/ActionDialogs.h"
#include "screens/Banner.h"
#include "screens/Details.h"
#include "screens/FileChooser.h"
#include "screens/Notices.h"
#include "screens/Placeholder.h"
#include "screens/RowList.h"
#include "screens/ScreenChange.h"
#include "screens/ToolbarItem.h"
#include "screens/files/FileBrowserState.h"
#include "screens/files/FileMenu.h"
#include "screens/files/FileRow.h"
#include "screens/files/MoveSheet.h"

namespace tovri {

enum class FileToolbarAction : std::uint8_t {
    download,
    sortByName,
    sortBySize,
    sortByDate,
    chooseUploads,  // the face's own: it shows uploadChooser() and hands over what was chosen
    refresh,
};

// Out of the folder on view: to the one above, or along those that were on view before and after it.
enum class FolderWay : std::uint8_t { up, back, forward };

// The file browser: the uploads into the folder on view, running and failed, then its folders and files. What it shows
// beyond the dialogs belongs to FileBrowserState.
class FileBrowserScreen {
public:
    // All outlive the screen.
    struct Surroundings {
        FileBrowserState& state;
        PutIOAPI& api;
        DownloadManager& downloads;
        const Preferences& preferences;
        Workspace& workspace;
        const TextCollation& collation;
        RandomSource& random;
        Notices& notices;
        std::function<void()> showDownloads;
        const WallClock& clock;
    };

    explicit FileBrowserScreen(const Surroundings& surroundings);

    void appear();
    void disappear();

    // --- What is seen ---

    static constexpr std::string_view breadcrumbSeparator = "chevron.right";

    // The last one is the folder on view, and emphasised.
    [[nodiscard]] const std::vector<Breadcrumb>& breadcrumbs() const { return state().breadcrumbs(); }

    // The folder shows only its beginning. Its button is dismissBanner().
    [[nodiscard]] std::optional<Banner> banner() const;

    // While another folder is being opened the rows are still those of the one before: nothing can be done with them.
    [[nodiscard]] bool isInert() const { return state().isStale(); }

    [[nodiscard]] bool isLoading() const { return state().isLoading(); }

    // At the foot: how many entries there are, and what is selected of them.
    [[nodiscard]] std::string footer() const;

    // Of what is selected. Changes with the chrome.
    [[nodiscard]] Details details() const;

    // Instead of the rows. Its button is openPlaceholder().
    [[nodiscard]] std::optional<Placeholder> placeholder() const;

    [[nodiscard]] std::vector<ToolbarItem<FileToolbarAction>> toolbar() const;

    [[nodiscard]] const std::string& searchText() const { return state().searchText(); }

    [[nodiscard]] std::size_t rowCount() const { return uploads_.rows().size() + files_.rows().size(); }

    [[nodiscard]] FileRow row(std::size_t index) const;

    // The file or folder of a row; null for an upload and past the end. Good until the next event.
    [[nodiscard]] const PutIOFile* fileAt(std::size_t row) const;

    [[nodiscard]] const FileIDs& selection() const { return state().selectedFiles(); }

    [[nodiscard]] std::vector<MenuItem<FileMenuAction>> menu(const FileIDs& files) const;

    [[nodiscard]] static FileChooser uploadChooser();

    [[nodiscard]] MoveSheet& moveSheet() { return moveSheet_; }

    [[nodiscard]] const ActionDialogs& dialogs() const { return dialogs_; }

    [[nodiscard]] ActionDialogs& dialogs() { return dialogs_; }

    Subscription onChange(std::function<void(const ScreenChange&)> tell) { return changes_.subscribe(std::move(tell)); }

    // --- What the user does ---

    void openBreadcrumb(std::size_t index) { state().navigateToBreadcrumb(index); }

    void openPlaceholder();

    void dismissBanner() { state().dismissCut(); }

    void refresh() { state().loadFiles(); }

    void select(FileIDs files) { state().setSelectedFiles(isInert() ? FileIDs() : std::move(files)); }

    void search(std::string text) { state().setSearchText(std::move(text)); }

    void perform(FileToolbarAction action);
    void perform(FileMenuAction action, const FileIDs& files);
    void perform(FileRowAction action, std::size_t row);

    // Of the one file that is selected.
    void perform(DetailsAction action);

    // Double-click or Return: opens a folder, downloads a file. Of several, one.
    void activate(const FileIDs& files);

    [[nodiscard]] bool canGo(FolderWay way) const;
    void go(FolderWay way);

    [[nodiscard]] bool canMove() const { return !isInert() && !selection().empty(); }

    // Opens the sheet for what is selected.
    void askWhereToMove() { moveSheet_.open(targets(selection()), breadcrumbs()); }

    // The Delete key.
    void deleteSelection() { askToDelete(selection()); }

    // Uploads into the row's folder, or into the one on view when the row is none or no folder.
    void upload(const std::vector<std::filesystem::path>& files, std::optional<std::size_t> row = std::nullopt);

    // What the drag of these files carries; it is parsed again by the two below.
    [[nodiscard]] std::string dragPayload(const FileIDs& files) const;

    // Whether the files of the payload can be dropped on the row: on a folder that is not among them.
    [[nodiscard]] bool acceptsDrop(std::size_t row, std::string_view payload) const;

    // Moves the files into the row's folder.
    void drop(std::size_t row, std::string_view payload);

    // The same with a folder on the way to this one. Local files are uploaded into it.
    [[nodiscard]] bool breadcrumbAcceptsDrop(std::size_t index, std::string_view payload) const;
    void dropOnBreadcrumb(std::size_t index, std::string_view payload);
    void uploadToBreadcrumb(std::size_t index, const std::vector<std::filesystem::path>& files);

private:
    struct FileRowTraits {
        static FileID key(const PutIOFile* file) { return file->id; }

        static bool isSame(const PutIOFile* left, const PutIOFile* right) { return left == right || *left == *right; }
    };

    struct UploadRowTraits {
        static UUID key(const UploadEntry& entry) { return entry.upload.id; }

        static bool isSame(const UploadEntry& left, const UploadEntry& right) { return left == right; }
    };

    [[nodiscard]] FileBrowserState& state() const { return surroundings_.state; }

    // Those on view among them; none of a folder that is not.
    [[nodiscard]] std::vector<const PutIOFile*> targets(const FileIDs& files) const;
    [[nodiscard]] bool isFilteredEmpty() const;
    void answerQueued(std::size_t count, const std::string& where);
    [[nodiscard]] ToolbarItem<FileToolbarAction> sortMenu() const;
    void follow(FileBrowserState::Field field);
    void showFiles();
    void showUploads();
    void download(const FileIDs& files, std::optional<bool> deletes);
    void downloadFolder(const PutIOFile& folder, bool deletes);
    void openInPutIO(const PutIOFile& file);
    void askToDelete(const FileIDs& files);
    Task<Result<void>> deleteFiles(std::vector<FileID> files);
    void openAddress(const std::string& address);
    void moveTo(std::vector<FileID> files, const Breadcrumb& folder);
    Task<> queueFolder(DownloadManager::FolderRequest request);
    Task<> copyDownloadLink(FileID file);
    Task<> moveFiles(std::vector<FileID> files, Breadcrumb folder, std::optional<Breadcrumb> origin);

    Surroundings surroundings_;
    FileBrowserState::Listing listing_;  // into which the rows point
    RowList<const PutIOFile*, FileRowTraits> files_;
    RowList<UploadEntry, UploadRowTraits> uploads_;
    Signal<const ScreenChange&> changes_;
    ActionDialogs dialogs_{scope_};
    MoveSheet moveSheet_;
    Subscription followingState_;
    Subscription followingUploads_;
    Subscription followingDialogs_;
    TaskScope scope_;
};

}  // namespace tovri
