#pragma once

#include <optional>

#include "app/AppDelegate.h"
#include "app/UpdaterController.h"
#include "automation/SyncManager.h"
#include "downloads/DownloadManager.h"
#include "downloads/PutIODownloadService.h"
#include "limits/LimitedSessions.h"
#include "limits/SpeedControl.h"
#include "platform/CredentialStore.h"
#include "platform/HTTPSession.h"
#include "platform/Platform.h"
#include "platform/UserDefaults.h"
#include "platform/WebAuthentication.h"
#include "screens/files/FileBrowserState.h"
#include "service/PutIOAPI.h"
#include "service/records/AccountInfo.h"
#include "service/requests/ServiceHosts.h"
#include "service/signin/AuthManager.h"
#include "settings/Preferences.h"

namespace tovri {

// The application: makes the long-lived objects, in the order of the members below, wires them once and follows the
// user's signing in and out. Each face has one for as long as its process lives, and shows what it holds.
class TovriApp {
public:
    // What the objects reach the machine through; all of it outlives the application.
    struct Ports {
        Platform platform;
        HTTPSession& http;
        TransferSession& transfers;
        CredentialStore& credentials;
        UserDefaults& defaults;
        WebAuthentication& web;
        SoftwareUpdater& updates;
        ServiceHosts hosts;
    };

    // Whether the automation rules look for new files by themselves.
    enum class Polling { whileSignedIn, never };

    explicit TovriApp(Ports ports, Polling polling = Polling::whileSignedIn);
    TovriApp(const TovriApp&) = delete;
    TovriApp& operator=(const TovriApp&) = delete;

    // Wires the objects, restores the queue, which goes on, and begins to poll. Only the first call does anything.
    void setup();

    [[nodiscard]] bool hasSetup() const { return hasSetup_; }

    [[nodiscard]] AppDelegate& appDelegate() { return appDelegate_; }

    [[nodiscard]] AuthManager& authManager() { return authManager_; }

    // Whose account that is. Asks by itself from `setup` on.
    [[nodiscard]] AccountInfo& account() { return account_; }

    [[nodiscard]] Preferences& preferences() { return preferences_; }

    [[nodiscard]] SpeedControl& speedControl() { return speedControl_; }

    [[nodiscard]] DownloadManager& downloadManager() { return downloadManager_; }

    [[nodiscard]] SyncManager& syncManager() { return syncManager_; }

    [[nodiscard]] FileBrowserState& fileBrowserState() { return fileBrowserState_; }

    [[nodiscard]] UpdaterController& updater() { return updater_; }

    // The client of the objects above, from `setup` on the same as long as the application lives.
    [[nodiscard]] PutIOAPI* api() { return api_ ? &*api_ : nullptr; }

    // Another client, for whoever asks the service while nothing is set up. The application outlives it.
    [[nodiscard]] PutIOAPI makeClient();

private:
    void follow(AuthManager::Change change);
    void followAccount();
    void reloadFiles();
    void startPolling();

    Ports ports_;
    Polling polling_;
    AppDelegate appDelegate_;
    AuthManager authManager_;
    AccountInfo account_;
    Preferences preferences_;
    SpeedLimit speedLimit_;
    LimitedHTTPSession http_;
    LimitedTransferSession transfers_;
    SpeedControl speedControl_;
    std::optional<PutIOAPI> api_;
    std::optional<PutIODownloadService> downloadService_;
    DownloadManager downloadManager_;
    SyncManager syncManager_;
    FileBrowserState fileBrowserState_;
    UpdaterController updater_;
    bool hasSetup_ = false;
    Subscription signIn_;
    Subscription accountChange_;
    Subscription speed_;
};

}  // namespace tovri
