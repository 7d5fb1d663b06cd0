#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Signal.h"
#include "screens/FileChooser.h"
#include "screens/Label.h"
#include "screens/Stepper.h"
#include "screens/settings/TransferSettings.h"
#include "service/records/AccountInfo.h"
#include "service/signin/AuthManager.h"
#include "settings/ConflictBehavior.h"
#include "settings/DesktopPreferences.h"
#include "settings/Preferences.h"

namespace tovri {

// "abcd...yz" for a long client ID, a short one as it is.
[[nodiscard]] std::string shortClientID(const std::string& clientID);

// The settings window: four tabs, each a form. Every change is stored at once.
class SettingsScreen {
public:
    struct Tab {
        const char* title = "";
        std::string_view symbol;
    };

    static constexpr Tab general{"General", "gear"};
    static constexpr Tab transfers{"Transfers", "speedometer"};
    static constexpr Tab account{"Account", "person.circle"};
    static constexpr Tab desktop{"Desktop", "desktopcomputer"};

    // All outlive the screen. Without `accountInfo` nothing is said of it.
    SettingsScreen(Preferences& preferences, AuthManager& auth, DesktopPreferences& desktopPreferences,
                   AccountInfo* accountInfo = nullptr);

    // The window closes, and with it the field of the client ID.
    void disappear();

    // --- General: the sections "Downloads", "Sync" and "Folders" ---

    static constexpr const char* downloadsSection = "Downloads";
    static constexpr const char* folderLabel = "Download folder";
    static constexpr const char* chooseLabel = "Choose...";
    static constexpr const char* deleteLabel = "Delete files from put.io after download";
    static constexpr const char* conflictLabel = "When a file already exists";
    static constexpr const char* syncSection = "Sync";
    static constexpr const char* foldersSection = "Folders";
    static constexpr const char* readLongFoldersLabel = "Read long folders to their end";

    // On one line, shortened at its head.
    [[nodiscard]] const std::string& downloadFolder() const { return preferences_.defaultDownloadPath(); }

    [[nodiscard]] static FileChooser downloadFolderChooser() { return {FileChooser::Target::folder, "", "Choose"}; }

    [[nodiscard]] bool deleteAfterDownload() const { return preferences_.deleteAfterDownload(); }

    [[nodiscard]] Stepper maxConcurrentDownloads() const;

    // Its choices are `conflictBehaviors` by their displayName().
    [[nodiscard]] ConflictBehavior conflictBehavior() const { return preferences_.conflictBehavior(); }

    // Under the picker, in the secondary tint.
    [[nodiscard]] std::string_view conflictExplanation() const { return explanation(conflictBehavior()); }

    [[nodiscard]] Stepper pollInterval() const;

    [[nodiscard]] bool readLongFolders() const { return preferences_.readLongFolders(); }

    void setDownloadFolder(const std::filesystem::path& folder) { preferences_.setDownloadFolder(folder); }

    void setDeleteAfterDownload(bool deletes) { preferences_.setDeleteAfterDownload(deletes); }

    void setMaxConcurrentDownloads(std::int64_t limit);

    void setConflictBehavior(ConflictBehavior behavior) { preferences_.setConflictBehavior(behavior); }

    void setPollInterval(std::int64_t minutes);

    void setReadLongFolders(bool reads) { preferences_.setReadLongFolders(reads); }

    // --- Transfers ---

    [[nodiscard]] TransferSettings& transferSettings() { return transferSettings_; }

    // --- Account: the section "put.io", then one without a header ---

    static constexpr const char* putioSection = "put.io";
    static constexpr const char* clientIDLabel = "Client ID";
    static constexpr const char* changeLabel = "Change";
    static constexpr const char* clientIDPrompt = "Client ID";
    static constexpr int clientIDFieldWidth = 200;  // in points
    static constexpr const char* saveLabel = "Save";
    static constexpr const char* statusLabel = "Status";
    static constexpr const char* accountLabel = "Account";
    static constexpr const char* signOutLabel = "Sign Out";  // destructive

    // What stands before changeLabel while the ID is not edited.
    [[nodiscard]] Label clientID() const;

    // Whether the field and saveLabel stand there instead.
    [[nodiscard]] bool isEditingClientID() const { return isEditingClientID_; }

    [[nodiscard]] const std::string& clientIDText() const { return clientIDText_; }

    [[nodiscard]] Label status() const;

    // Whose account it is, and how much of its space is used and free; empty before that is known.
    [[nodiscard]] std::string signedInAccount() const;

    // The window is looked at: that is kept fresh.
    void appear();

    [[nodiscard]] bool canSignOut() const { return auth_.isAuthenticated(); }

    void editClientID();
    void setClientIDText(std::string text);
    void saveClientID();

    void signOut() { auth_.signOut(); }

    // --- Desktop ---

    static constexpr const char* keepsAwakeLabel = "Keep the computer awake while files are transferred";
    static constexpr const char* notifiesLabel = "Notify when all downloads are done or one has failed";
    static constexpr const char* runsOnLabel = "Keep running without a window where there is no tray icon";

    [[nodiscard]] bool keepsAwake() const { return desktopPreferences_.keepsAwake(); }

    [[nodiscard]] bool notifies() const { return desktopPreferences_.notifies(); }

    void setKeepsAwake(bool keeps) { desktopPreferences_.setKeepsAwake(keeps); }

    // Also while nobody has asked yet what closing the window means.
    [[nodiscard]] bool runsOn() const { return desktopPreferences_.closedWindow() != ClosedWindow::quits; }

    void setNotifies(bool notifies) { desktopPreferences_.setNotifies(notifies); }

    void setRunsOn(bool runsOn);

    // Told after any of the above differs.
    Subscription onChange(std::function<void()> tell) { return changes_.subscribe(std::move(tell)); }

private:
    Preferences& preferences_;
    AuthManager& auth_;
    DesktopPreferences& desktopPreferences_;
    AccountInfo* account_;
    TransferSettings transferSettings_{preferences_};
    std::string clientIDText_;
    bool isEditingClientID_ = false;
    Signal<> changes_;
    Subscription followingPreferences_;
    Subscription followingAuth_;
    Subscription followingDesktop_;
    Subscription followingAccount_;
};

}  // namespace tovri
