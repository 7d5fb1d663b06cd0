#include "screens/settings/SettingsScreen.h"

#include <algorithm>
#include <vector>

namespace tovri {
namespace {

// Where the characters of UTF-8 begin.
std::vector<std::size_t> charactersOf(const std::string& text) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < text.size(); ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80U) starts.push_back(i);
    return starts;
}

constexpr Stepper::Bounds boundsOf(const Preference<std::int64_t>& number) {
    return {number.range.least, number.range.mostOffered};
}

}  // namespace

std::string shortClientID(const std::string& clientID) {
    constexpr std::size_t longestWhole = 6;
    constexpr std::size_t head = 4;
    constexpr std::size_t tail = 2;
    const std::vector<std::size_t> starts = charactersOf(clientID);
    if (starts.size() <= longestWhole) return clientID;
    return clientID.substr(0, starts[head]) + "..." + clientID.substr(starts[starts.size() - tail]);
}

SettingsScreen::SettingsScreen(Preferences& preferences, AuthManager& auth, DesktopPreferences& desktopPreferences,
                               AccountInfo* accountInfo)
    : preferences_(preferences),
      auth_(auth),
      desktopPreferences_(desktopPreferences),
      account_(accountInfo),
      followingPreferences_(preferences.onChange([this](std::string_view /*key*/) { changes_.tell(); })),
      followingAuth_(auth.onChange([this](AuthManager::Change /*change*/) { changes_.tell(); })),
      followingDesktop_(desktopPreferences.onChange([this] { changes_.tell(); })) {
    if (account_) followingAccount_ = account_->onChange([this] { changes_.tell(); });
}

std::string SettingsScreen::signedInAccount() const {
    if (!account_ || !auth_.isAuthenticated()) return {};
    return account_->known() ? accountText(*account_->known()) : account_->name().value_or("");
}

void SettingsScreen::appear() {
    if (account_) account_->beginWatching();
}

void SettingsScreen::disappear() {
    if (account_) account_->endWatching();
    if (std::exchange(isEditingClientID_, false)) changes_.tell();
}

// --- General ---

Stepper SettingsScreen::maxConcurrentDownloads() const {
    const std::int64_t limit = preferences_.maxConcurrentDownloads();
    return {"Max concurrent downloads", std::to_string(limit), limit, boundsOf(preference::maxConcurrentDownloads)};
}

Stepper SettingsScreen::pollInterval() const {
    const std::int64_t minutes = preferences_.syncPollIntervalMinutes();
    return {"Default poll interval", std::to_string(minutes) + " min", minutes,
            boundsOf(preference::syncPollIntervalMinutes)};
}

void SettingsScreen::setMaxConcurrentDownloads(std::int64_t limit) {
    preferences_.setMaxConcurrentDownloads(boundsOf(preference::maxConcurrentDownloads).clamped(limit));
}

void SettingsScreen::setPollInterval(std::int64_t minutes) {
    preferences_.setSyncPollIntervalMinutes(boundsOf(preference::syncPollIntervalMinutes).clamped(minutes));
}

// --- Account ---

Label SettingsScreen::clientID() const {
    if (auth_.needsClientID()) return {"", "Not set", Tint::secondary};
    return {"", shortClientID(auth_.clientID()), Tint::primary};
}

Label SettingsScreen::status() const {
    if (auth_.isAuthenticated()) return {"", "Signed in", Tint::success};
    return {"", "Not signed in", Tint::secondary};
}

void SettingsScreen::editClientID() {
    clientIDText_ = auth_.clientID();
    isEditingClientID_ = true;
    changes_.tell();
}

void SettingsScreen::setClientIDText(std::string text) {
    if (clientIDText_ == text) return;
    clientIDText_ = std::move(text);
    changes_.tell();
}

void SettingsScreen::saveClientID() {
    if (!std::exchange(isEditingClientID_, false)) return;
    auth_.saveClientID(clientIDText_);
    changes_.tell();
}

// The state that is shown is no answer to the question yet.
void SettingsScreen::setRunsOn(bool runsOn) {
    if (runsOn == this->runsOn()) return;
    desktopPreferences_.setClosedWindow(runsOn ? ClosedWindow::runsOn : ClosedWindow::quits);
}

}  // namespace tovri
