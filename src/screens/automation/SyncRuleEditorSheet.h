#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "automation/SyncManager.h"
#include "base/Signal.h"
#include "base/TaskScope.h"
#include "platform/FolderAccess.h"
#include "platform/RandomSource.h"
#include "screens/FileChooser.h"
#include "screens/Stepper.h"
#include "screens/files/FileBrowserState.h"
#include "service/PutIOAPI.h"

namespace tovri {

// The sheet that makes an automation rule or edits one. Owned by the automation screen. What it holds is new each time
// it opens and forgotten when it closes. Browsing and choosing the put.io folder are one: the chosen folder is always
// the one whose sub-folders are listed.
class SyncRuleEditorSheet {
public:
    enum class Change { fields, folders };

    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* remoteSection = "put.io Folder";
    static constexpr std::string_view selectedSymbol = "checkmark.circle.fill";
    static constexpr std::string_view breadcrumbSeparator = "chevron.right";
    static constexpr std::string_view folderSymbol = "folder.fill";
    static constexpr std::string_view folderTrailingSymbol = "chevron.right";
    static constexpr const char* localSection = "Local Folder";
    static constexpr const char* localFolderPrompt = "Choose a folder...";
    static constexpr const char* chooseLabel = "Choose...";
    static constexpr const char* optionsSection = "Options";
    static constexpr const char* deleteLabel = "Delete from put.io after download";
    static constexpr Stepper::Bounds intervalBounds{1, 60};

    // All outlive the sheet.
    SyncRuleEditorSheet(SyncManager& manager, PutIOAPI& api, RandomSource& random, FolderAccess& folderAccess);

    [[nodiscard]] bool isOpen() const { return isOpen_; }

    [[nodiscard]] const char* title() const { return existingRule_ ? "Edit Sync Rule" : "New Sync Rule"; }

    [[nodiscard]] const char* confirmLabel() const { return existingRule_ ? "Save" : "Create Rule"; }

    [[nodiscard]] bool canConfirm() const { return !localFolderPath_.empty(); }

    [[nodiscard]] std::string selectedText() const { return "Selected: " + putioFolderName_; }

    [[nodiscard]] const std::vector<Breadcrumb>& browserPath() const { return browserPath_; }

    // In the place of the folders while it is true.
    [[nodiscard]] bool isLoadingFolders() const { return isLoadingFolders_; }

    // Below the chosen one, in the service's order.
    [[nodiscard]] const std::vector<PutIOFile>& folders() const { return folders_; }

    // Empty until one is chosen; localFolderPrompt stands there then.
    [[nodiscard]] const std::string& localFolderPath() const { return localFolderPath_; }

    [[nodiscard]] static FileChooser localFolderChooser();

    [[nodiscard]] bool deleteAfterDownload() const { return deleteAfterDownload_; }

    [[nodiscard]] Stepper pollInterval() const;

    // What the user may not have meant, and may confirm all the same; empty when there is nothing.
    [[nodiscard]] const char* notice() const;

    // Without a rule for a new one.
    void open(std::optional<SyncRule> rule);

    // The Cancel button.
    void close();

    // One of folders().
    void openFolder(std::size_t index);
    void openBreadcrumb(std::size_t index);

    // The user chose it.
    void setLocalFolder(const std::filesystem::path& folder);
    void setDeleteAfterDownload(bool deletes);
    void setPollInterval(std::int64_t minutes);

    // Makes or changes the rule and closes the sheet.
    void confirm();

    // Told after the state is consistent; opening and closing are changes of the fields.
    Subscription onChange(std::function<void(Change)> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void reset(std::optional<SyncRule> rule);
    void select(const Breadcrumb& folder);
    void loadFolders();
    Task<> load(FolderID folderID, UUID request, std::stop_token stop);
    void addFolders(std::vector<PutIOFile> listed);

    SyncManager& manager_;
    PutIOAPI& api_;
    RandomSource& random_;
    FolderAccess& folderAccess_;

    bool isOpen_ = false;
    std::optional<SyncRule> existingRule_;  // as it was when the sheet opened
    FolderID putioFolderID_;
    std::string putioFolderName_;
    std::string localFolderPath_;
    std::optional<ByteBlob> localFolderBookmark_;
    bool deleteAfterDownload_ = true;
    std::int64_t pollIntervalMinutes_ = 5;
    std::vector<PutIOFile> folders_;
    std::vector<Breadcrumb> browserPath_;  // a rule's own folder is not in it
    bool isLoadingFolders_ = false;
    UUID folderLoadRequestID_;  // of the newest listing
    std::stop_source opening_;  // stopped when what it opened is closed
    Signal<Change> changes_;
    TaskScope scope_;
};

}  // namespace tovri
