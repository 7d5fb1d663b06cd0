// What a rule may believe: of the folder that it watched before, of an answer, of the clock, and of itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "automation/SyncWorld.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class Honesty : public testing::Test {
public:
    [[nodiscard]] World& world() { return home.world; }

    [[nodiscard]] SyncManager& sync() { return *home.sync; }

    SyncWorld home;
    FolderID shows = world().addFolder("Shows");
    FolderID season = world().addFolder("Season 1", shows);
};

TEST_F(Honesty, leaveBehindWhatCameFromTheFolderOfBefore) {
    const UUID id = home.watch(shows);
    const FileID file = world().addFile("new.mkv", "new", shows);
    home.pass();
    world().loop.advance(1min);
    const FolderID other = world().addFolder("Other");
    SyncRule rule = home.rule(id);
    rule.putioFolderID = other;
    sync().updateRule(rule);
    home.settle();
    home.restart();
    EXPECT_TRUE(home.rule(id).knownFileIDs.isEmpty());

    world().files.removeItem(SyncWorld::local / "new.mkv").value();
    home.restart();
    home.pass();
    EXPECT_THAT(home.arrived(), IsEmpty());
    world().move(file, other);  // there it is new
    home.pass();
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
    home.restart();
    EXPECT_TRUE(home.rule(id).knownFileIDs.contains(file));
}

// The file was on its way to the disk when the rule was pointed at a folder that holds it too.
TEST_F(Honesty, keepTheInventoryOfTheNewFolderWhole) {
    const UUID id = home.watch(season);
    world().addFile("new.mkv", "new", season);
    world().volumes.longestDelay = 10s;
    sync().startSyncAll(SyncUrgency::forced);
    while (world().manager().downloads().count(Download::Status::completed) == 0) world().loop.advance(1ms);
    SyncRule rule = home.rule(id);
    rule.putioFolderID = shows;
    sync().updateRule(rule);
    EXPECT_TRUE(sync().saveNow());
    world().volumes.longestDelay = 0ms;
    home.settle();
    home.restart();
    for (const SyncRule& saved : home.savedRules()) EXPECT_TRUE(saved.pendingFileIDs.isEmpty());
}

TEST_F(Honesty, takeALastOneInTheFutureForNow) {
    const UUID id = home.watch(shows);
    SyncRule rule = home.rule(id);
    rule.lastSyncDate = world().clock.now() + std::chrono::days(400);
    sync().updateRule(rule);
    (void)home.lines();
    home.pass(SyncUrgency::whenDue);
    EXPECT_THAT(home.lines(),
                ElementsAre("Shows: the last pass lies in the future, so the clock was wrong; it counts as now"));
    const int before = home.listings[shows];
    world().loop.advance(5min);
    home.pass(SyncUrgency::whenDue);
    EXPECT_EQ(home.listings[shows], before + 1);
}

// The loop's clock stands still meanwhile.
TEST_F(Honesty, lookSoonAfterTheMachineHasSlept) {
    home.watch(shows);
    sync().startPolling();
    world().loop.advance(1s);
    const int before = home.listings[shows];
    home.sleepClock.sleep(8h);
    world().clock.set(world().clock.now() + 8h);
    world().loop.advance(15s);
    EXPECT_EQ(home.listings[shows], before + 1);
    sync().stopPolling();
}

// What had failed then would wait for a time that does not come.
TEST_F(Honesty, waitForNoClockThatWasWrong) {
    home.watch(shows);
    const FileID file = world().addFile("new.mkv", "new", shows);
    world().link(file).status = 501;
    const Timestamp today = world().clock.now();
    world().clock.set(today + std::chrono::days(400));
    home.pass();
    sync().startSyncAll(SyncUrgency::forced);
    world().loop.advance(1s);
    ASSERT_TRUE(world().find(file)->hold);
    world().clock.set(today);
    world().link(file).status = 200;
    home.restart();
    world().loop.advance(5min);
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
}

TEST_F(Honesty, keepWhatFailedLastWithItsRule) {
    const UUID id = home.watch(shows);
    home.refusal = 500;
    home.pass();
    EXPECT_EQ(home.rule(id).lastFailure, "HTTP error 500 from put.io.");
    home.restart();
    EXPECT_EQ(home.rule(id).lastFailure, "HTTP error 500 from put.io.");
    EXPECT_FALSE(sync().lastError());
    home.refusal.reset();
    home.pass();
    EXPECT_FALSE(home.rule(id).lastFailure);
}

TEST_F(Honesty, believeNoListingThatIsNotConfirmed) {
    const FileID old = world().addFile("old.mkv", "old", shows);
    world().http.handler = [usual = world().http.handler](const HTTPRequest& request) -> Result<HTTPResponse> {
        if (!request.url.contains("parent_id=")) return usual(request);
        return HTTPResponse{200, R"({"files":[],"status":"ERROR"})"};
    };
    const UUID id = home.watch(shows);
    EXPECT_FALSE(home.rule(id).isInitialized) << old.text();
    EXPECT_EQ(sync().lastError(), "Couldn't initialize Shows: put.io did not confirm the listing.. Will retry.");
}

}  // namespace
}  // namespace tovri::test
