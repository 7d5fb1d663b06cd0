#include <algorithm>
#include <array>
#include <string>

#include <gtest/gtest.h>

#include "app/TovriApp.h"
#include "support/FakeFolderAccess.h"
#include "support/MemoryFileManager.h"
#include "support/MemoryStores.h"
#include "support/ScriptedSessions.h"
#include "support/SeededRandom.h"
#include "support/SimulatedTransferSession.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class ScriptedUpdater final : public SoftwareUpdater {
public:
    [[nodiscard]] bool canCheckForUpdates() const override { return canCheck; }

    void checkForUpdates() override { ++checks; }

    Subscription onChange(std::function<void()> tell) override { return changes.subscribe(std::move(tell)); }

    bool canCheck = true;
    int checks = 0;
    Signal<> changes;
};

// A machine on which the application can be started more than once. put.io lists nothing but counts how often it was
// asked for the watched folder.
class TovriAppTest : public testing::Test {
public:
    TovriAppTest() {
        http.handler = [this](const HTTPRequest& request) -> Result<HTTPResponse> {
            if (request.url.contains("parent_id=7")) ++listings;
            return HTTPResponse{status, R"({"files":[],"status":"OK"})"};
        };
        defaults.setString("conflictBehavior", "skip");
    }

    std::unique_ptr<TovriApp> start() {
        const Platform platform{
            loop, clock, random, files, access, background, volumes, log, {"/home/user", "/data", "/tmp"}};
        return std::make_unique<TovriApp>(
            TovriApp::Ports{platform, http, transfers, credentials, defaults, web, updater, ServiceHosts{}});
    }

    static SyncRule watchedFolder() {
        SyncRule rule;
        rule.id = *UUID::parse("00000000-0000-4000-8000-000000000007");
        rule.putioFolderID = FolderID(7);
        rule.putioFolderName = "Films";
        rule.localFolderPath = "/home/user/Films";
        rule.pollIntervalMinutes = 1;
        return rule;
    }

    // How many passes a number of minutes has.
    int passesIn(std::chrono::minutes time) {
        const int before = listings;
        loop.advance(time);
        return listings - before;
    }

    bool wrote(const std::string& file) { return files.files("/data").contains("/data/" + file); }

    VirtualLoop loop;
    VirtualClock clock{loop};
    VirtualBackgroundQueue background{loop};
    VirtualVolumeQueues volumes{loop};
    SeededRandom random;
    MemoryFileManager files;
    FakeFolderAccess access;
    RecordingLog log;
    MemoryUserDefaults defaults;
    MemoryCredentialStore credentials;
    ScriptedHTTPSession http{loop};
    ScriptedWebAuthentication web{loop};
    SimulatedStorage storage;
    SimulatedTransferSession transfers{loop, storage};
    ScriptedUpdater updater;
    int status = 200;
    int listings = 0;
};

TEST_F(TovriAppTest, pollsOnceHoweverOftenItIsSetUp) {
    credentials.values["accessToken"] = "secret";
    const auto app = start();
    app->setup();
    app->syncManager().addRule(watchedFolder());
    loop.advance(1min);
    app->setup();
    EXPECT_NEAR(passesIn(10min), 10, 1);
}

TEST_F(TovriAppTest, pollsWhileSomebodyIsSignedInWithTheSameClientThroughout) {
    const auto app = start();
    app->setup();
    app->syncManager().addRule(watchedFolder());
    PutIOAPI* const client = app->api();
    EXPECT_EQ(passesIn(10min), 0);

    ASSERT_TRUE(app->authManager().signInWithToken("secret"));
    EXPECT_NEAR(passesIn(10min), 10, 1);

    app->authManager().signOut();
    EXPECT_EQ(passesIn(10min), 0);

    ASSERT_TRUE(app->authManager().signInWithToken("another"));
    EXPECT_NEAR(passesIn(10min), 10, 1);
    EXPECT_EQ(app->api(), client);
}

TEST_F(TovriAppTest, anAnswerThatTheTokenIsRefusedEndsPollingAndEmptiesTheFileBrowser) {
    credentials.values["accessToken"] = "secret";
    const auto app = start();
    app->setup();
    app->syncManager().addRule(watchedFolder());
    PutIOFile folder;
    folder.id = FileID(9);
    folder.name = "Shows";
    app->fileBrowserState().navigateInto(folder);
    app->fileBrowserState().setSearchText("mov");
    PutIOFile file;
    file.id = FileID(11);
    app->downloadManager().pauseAll();
    app->downloadManager().enqueue(file, {});
    loop.advance(1min);

    status = 401;
    loop.advance(2min);
    EXPECT_FALSE(app->authManager().isAuthenticated());
    EXPECT_EQ(passesIn(10min), 0);
    const auto& breadcrumbs = app->fileBrowserState().breadcrumbs();
    ASSERT_EQ(breadcrumbs.size(), 1U);
    EXPECT_EQ(breadcrumbs[0], (Breadcrumb{rootFolderID, "Your Files"}));
    EXPECT_FALSE(app->fileBrowserState().hasLoaded());
    EXPECT_EQ(app->fileBrowserState().searchText(), "mov");
    EXPECT_EQ(app->downloadManager().downloads().items().size(), 1U);
    const auto told = std::ranges::count_if(
        log.lines, [](const std::string& line) { return line.starts_with("[SyncManager] Error syncing Films"); });
    EXPECT_EQ(told, 1);
}

TEST_F(TovriAppTest, writesItsStateAtTheEndUnlessItWasNeverSetUp) {
    auto app = start();
    EXPECT_TRUE(app->appDelegate().applicationWillTerminate());
    EXPECT_FALSE(wrote("queue.json"));

    app->setup();
    app->syncManager().addRule(watchedFolder());
    EXPECT_TRUE(app->appDelegate().applicationWillTerminate());
    EXPECT_TRUE(wrote("queue.json"));
    EXPECT_TRUE(wrote("sync-rules.json"));
}

TEST_F(TovriAppTest, saysAtTheEndWhatCouldNotBeWritten) {
    const auto app = start();
    app->setup();
    for (const auto& [name, text] : {std::pair("queue.json", "The queue cannot be saved. Full."),
                                     std::pair("sync-rules.json", "The rules cannot be saved. Full.")}) {
        app->syncManager().addRule(watchedFolder());
        files.failNext("writeFileAtomically", std::filesystem::path("/data") / name, {ErrorCase::file, "Full."});
        const Result<void> saved = app->appDelegate().applicationWillTerminate();
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error().description, text);
        app->syncManager().addRule(watchedFolder());
        EXPECT_TRUE(app->appDelegate().applicationWillTerminate());
    }
}

TEST_F(TovriAppTest, aSecondStartBringsTheWindowsBackOnlyWhenNoneIsSeen) {
    int shown = 0;
    const auto show = [&shown] { ++shown; };
    AppDelegate::applicationShouldHandleReopen(true, show);
    EXPECT_EQ(shown, 0);
    AppDelegate::applicationShouldHandleReopen(false, show);
    EXPECT_EQ(shown, 1);
}

TEST_F(TovriAppTest, offersAnUpdateCheckWhileTheUpdaterCanMakeOne) {
    const auto app = start();
    int told = 0;
    const Subscription changes = app->updater().onChange([&told] { ++told; });
    EXPECT_TRUE(app->updater().canCheckForUpdates());
    app->updater().checkForUpdates();
    EXPECT_EQ(updater.checks, 1);

    updater.canCheck = false;
    updater.changes.tell();
    updater.changes.tell();
    EXPECT_FALSE(app->updater().canCheckForUpdates());
    EXPECT_EQ(told, 1);
}

}  // namespace
}  // namespace tovri::test
