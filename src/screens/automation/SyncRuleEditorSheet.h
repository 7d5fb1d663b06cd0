#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "automation/SyncManager.h"
#include "base/Signal.h"
#include "platform/FolderAccess.h"
#include "platform/RandomSource.h"
#include "screens/FileChooser.h"
#include "screens/Stepper.h"
#include "screens/files/FolderChoice.h"
#include "service/PutIOAPI.h"

namespace tovri {

// The sheet that makes an automation rule or edits one. Owned by the automation screen. What it holds is new each time
// it opens and forgotten when it closes.
class SyncRuleEditorSheet {
public:
    static constexpr const char* cancelLabel = "Cancel";
    static constexpr const char* remoteSection = "put.io Folder";
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

    // The put.io folder. A rule's own folder is not in its path.
    [[nodiscard]] const FolderChoice& remoteFolder() const { return remoteFolder_; }

    [[nodiscard]] FolderChoice& remoteFolder() { return remoteFolder_; }

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

    // The user chose it.
    void setLocalFolder(const std::filesystem::path& folder);
    void setDeleteAfterDownload(bool deletes);
    void setPollInterval(std::int64_t minutes);

    // Makes or changes the rule and closes the sheet.
    void confirm();

    // Told after the state is consistent, of opening and closing too, but not of what the choice of the put.io folder
    // tells by itself.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    void reset(std::optional<SyncRule> rule);

    SyncManager& manager_;
    RandomSource& random_;
    FolderAccess& folderAccess_;

    bool isOpen_ = false;
    std::optional<SyncRule> existingRule_;  // as it was when the sheet opened
    std::string localFolderPath_;
    std::optional<ByteBlob> localFolderBookmark_;
    bool deleteAfterDownload_ = true;
    std::int64_t pollIntervalMinutes_ = 5;
    Signal<> changes_;
    FolderChoice remoteFolder_;
};

}  // namespace tovri
