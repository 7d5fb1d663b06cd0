#include "screens/settings/SettingsScreen.h"
#include "service/ServiceFixture.h"

namespace tovri {
namespace {

class SettingsScreenTest : public test::ServiceFixture {
public:
    test::MemoryUserDefaults defaults;
    Preferences preferences{defaults, folderAccess, "/home/user"};
    DesktopPreferences desktop{defaults};
    SettingsScreen screen{preferences, auth, desktop};
};

TEST(ShortClientID, keepsWhatTellsItFromOthers) {
    EXPECT_EQ(shortClientID("abc"), "abc");
    EXPECT_EQ(shortClientID("abcdef"), "abcdef");
    EXPECT_EQ(shortClientID("abcdefg"), "abcd...fg");
    EXPECT_EQ(shortClientID("abcdefghyz"), "abcd...yz");
    EXPECT_EQ(shortClientID("äöüßéè"), "äöüßéè");
    EXPECT_EQ(shortClientID("äöüßéèê"), "äöüß...èê");
}

TEST_F(SettingsScreenTest, storesEveryChangeAtOnce) {
    EXPECT_EQ(screen.downloadFolder(), "/home/user/Downloads");
    screen.setDownloadFolder("/srv/new");
    EXPECT_EQ(defaults.string("defaultDownloadPath"), "/srv/new");
    EXPECT_EQ(screen.downloadFolder(), "/srv/new");
    screen.setDeleteAfterDownload(true);
    EXPECT_EQ(defaults.boolean("deleteAfterDownload"), true);

    EXPECT_EQ(screen.conflictExplanation(), "Save alongside as \"Filename (1)\".");
    screen.setConflictBehavior(ConflictBehavior::skip);
    EXPECT_EQ(screen.conflictExplanation(), "Discard the download and keep the existing file.");
    EXPECT_EQ(defaults.string("conflictBehavior"), "skip");
}

TEST_F(SettingsScreenTest, stepsWithinBounds) {
    EXPECT_EQ(screen.maxConcurrentDownloads().value, "3");
    EXPECT_EQ(screen.pollInterval().value, "5 min");
    screen.setMaxConcurrentDownloads(11);
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 10);
    EXPECT_FALSE(screen.maxConcurrentDownloads().canStepUp());
    screen.setMaxConcurrentDownloads(0);
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 1);
    EXPECT_FALSE(screen.maxConcurrentDownloads().canStepDown());
    screen.setPollInterval(0);
    EXPECT_EQ(screen.pollInterval().value, "1 min");
    screen.setPollInterval(100);
    EXPECT_EQ(screen.pollInterval().value, "60 min");

    preferences.setMaxConcurrentDownloads(25);  // as an older file may have it
    EXPECT_EQ(screen.maxConcurrentDownloads().value, "25");
    EXPECT_FALSE(screen.maxConcurrentDownloads().canStepUp());
    EXPECT_TRUE(screen.maxConcurrentDownloads().canStepDown());
}

TEST_F(SettingsScreenTest, changesTheClientID) {
    EXPECT_EQ(screen.clientID().text, "Not set");
    screen.editClientID();
    EXPECT_EQ(screen.clientIDText(), auth.clientID());  // what stands for none as well
    screen.setClientIDText(" abcdefghij\n");
    screen.saveClientID();
    EXPECT_FALSE(screen.isEditingClientID());
    EXPECT_EQ(screen.clientID(), (Label{"", "abcd...ij", Tint::primary}));
    EXPECT_EQ(credentials.values.at("clientID"), "abcdefghij");

    screen.editClientID();
    EXPECT_EQ(screen.clientIDText(), "abcdefghij");
    screen.setClientIDText("lost with the window");
    screen.disappear();
    EXPECT_FALSE(screen.isEditingClientID());
    EXPECT_EQ(auth.clientID(), "abcdefghij");

    screen.editClientID();
    screen.setClientIDText("");
    screen.saveClientID();
    EXPECT_EQ(screen.clientID(), (Label{"", "Not set", Tint::secondary}));
}

TEST_F(SettingsScreenTest, signsOut) {
    int told = 0;
    const Subscription subscription = screen.onChange([&] { ++told; });
    EXPECT_EQ(screen.status(), (Label{"", "Signed in", Tint::success}));
    EXPECT_TRUE(screen.canSignOut());
    screen.signOut();
    EXPECT_EQ(screen.status(), (Label{"", "Not signed in", Tint::secondary}));
    EXPECT_FALSE(screen.canSignOut());
    EXPECT_EQ(told, 1);
}

TEST_F(SettingsScreenTest, theDesktopsSwitchesAreOnUntilTurnedOff) {
    EXPECT_TRUE(screen.keepsAwake());
    EXPECT_TRUE(screen.notifies());
    screen.setKeepsAwake(false);
    EXPECT_FALSE(DesktopPreferences(defaults).keepsAwake());
    EXPECT_TRUE(DesktopPreferences(defaults).notifies());
    screen.setNotifies(false);
    EXPECT_FALSE(DesktopPreferences(defaults).notifies());

    screen.setRunsOn(true);
    EXPECT_EQ(DesktopPreferences(defaults).closedWindow(), std::nullopt);  // it is shown so anyway: nobody answered
    screen.setRunsOn(false);
    EXPECT_EQ(DesktopPreferences(defaults).closedWindow(), ClosedWindow::quits);
    screen.setRunsOn(true);
    EXPECT_EQ(DesktopPreferences(defaults).closedWindow(), ClosedWindow::runsOn);
}

}  // namespace
}  // namespace tovri
