#include "app/TovriApp.h"

#include <utility>

namespace tovri {

TovriApp::TovriApp(Ports ports, Polling polling)
    : ports_(std::move(ports)),
      polling_(polling),
      authManager_(ports_.credentials, ports_.web, ports_.platform.loop, ports_.hosts),
      account_(authManager_, ports_.http, ports_.platform, ports_.hosts, ports_.defaults),
      preferences_(ports_.defaults, ports_.platform.folderAccess, ports_.platform.folders.home),
      speedLimit_(ports_.platform.loop),
      http_(ports_.http, speedLimit_),
      transfers_(ports_.transfers, speedLimit_),
      speedControl_(ports_.platform.loop, ports_.platform.clock, preferences_, speedLimit_),
      downloadManager_(downloadPorts(ports_.platform, transfers_)),
      syncManager_(syncPorts(ports_.platform)),
      fileBrowserState_(ports_.platform.loop, ports_.platform.random),
      updater_(ports_.updates),
      signIn_(authManager_.onChange([this](AuthManager::Change change) { follow(change); })),
      speed_(speedControl_.onChange([this] { downloadManager_.holdAll(speedControl_.holdReason()); })) {
    downloadManager_.holdAll(speedControl_.holdReason());
}

void TovriApp::setup() {
    if (hasSetup_) return;
    api_.emplace(makeClient());
    preferences_.refreshDownloadFolderBookmark();
    downloadService_.emplace(*api_);
    downloadManager_.configure(*downloadService_, preferences_);
    downloadManager_.setSignedIn(authManager_.isAuthenticated());
    accountChange_ = account_.onChange([this] { followAccount(); });
    followAccount();
    downloadManager_.restoreQueue();
    syncManager_.configure(*api_, downloadManager_);
    fileBrowserState_.configure(*api_);
    appDelegate_.authManager = &authManager_;
    appDelegate_.downloadManager = &downloadManager_;
    appDelegate_.syncManager = &syncManager_;
    if (authManager_.isAuthenticated()) startPolling();
    hasSetup_ = true;
}

PutIOAPI TovriApp::makeClient() {
    return {authManager_, http_, servicePorts(ports_.platform), ports_.hosts,
            [this] { return preferences_.readLongFolders(); }};
}

// The queue stays as it is; so does the client, which takes the token of whoever signs in next.
void TovriApp::follow(AuthManager::Change change) {
    if (change == AuthManager::Change::clientID) return;
    if (hasSetup_) followAccount();
    if (change == AuthManager::Change::token) return reloadFiles();
    downloadManager_.setSignedIn(authManager_.isAuthenticated());
    if (authManager_.isAuthenticated()) {
        startPolling();
        return;
    }
    syncManager_.stopPolling();
    fileBrowserState_.reset();
}

// Nothing that was seen with the other token is acted on.
void TovriApp::reloadFiles() {
    const bool wasSeen = fileBrowserState_.hasLoaded();
    fileBrowserState_.reset();
    if (wasSeen) fileBrowserState_.loadFiles();
}

// Before it is known whose account it is, what belongs to a certain one waits.
void TovriApp::followAccount() {
    if (!authManager_.isAuthenticated()) return;
    const std::optional<std::string> name = account_.name();
    downloadManager_.setAccount(name);
    syncManager_.setAccount(name);
    if (!name) account_.refreshSoon();
}

void TovriApp::startPolling() {
    if (polling_ == Polling::whileSignedIn) syncManager_.startPolling();
}

}  // namespace tovri
