// Inventories, passes, polling.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "downloads/saving/SavedDate.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using Status = Download::Status;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Passes : public testing::Test {
public:
    World& world() { return home.world; }

    SyncManager& sync() { return *home.sync; }

    SyncWorld home;
    FolderID shows = world().addFolder("Shows");
    FolderID season = world().addFolder("Season 1", shows);
    FileID old = world().addFile("old.mkv", "old", shows);
};

TEST_F(Passes, takeStockThenBringWhatIsNew) {
    world().addFile("e01.mkv", "one", season);
    const UUID rule = home.watch(shows);
    EXPECT_THAT(home.lines(), ElementsAre("Initialized Shows with 2 existing files"));
    home.pass();
    EXPECT_THAT(home.lines(), ElementsAre("Shows: 2 files total, 0 new, 0 in flight"));

    const FolderID extras = world().addFolder("Extras", season);
    const FileID fresh = world().addFile("e02.mkv", "two", season);
    const FileID deep = world().addFile("making of.mkv", "deep", extras);
    home.pass();
    EXPECT_THAT(home.lines(), ElementsAre("Shows: 4 files total, 2 new, 0 in flight", "Enqueued 2 files for download"));
    EXPECT_THAT(home.arrived(), UnorderedElementsAre("Season 1/e02.mkv", "Season 1/Extras/making of.mkv"));
    EXPECT_TRUE(home.rule(rule).knownFileIDs.contains(fresh) && home.rule(rule).knownFileIDs.contains(deep));
    EXPECT_TRUE(home.rule(rule).pendingFileIDs.isEmpty());
    const ItemOrder& queue = world().manager().downloads().items();
    EXPECT_TRUE(queue[0]->batchID && queue[0]->batchID == queue[1]->batchID);
    EXPECT_EQ(home.listings[shows], 3);  // one listing each time
    EXPECT_EQ(home.listings[season], 3);

    world().files.removeItem(SyncWorld::local / "Season 1/e02.mkv").value();
    home.pass();
    EXPECT_THAT(home.arrived(), ElementsAre("Season 1/Extras/making of.mkv"));
}

TEST_F(Passes, respectTheInterval) {
    SyncRule rule = home.newRule(shows, "Shows");
    rule.pollIntervalMinutes = 5;
    sync().addRule(rule);
    home.settle();
    sync().startPolling();
    world().loop.advance(1s);
    EXPECT_EQ(home.listings[shows], 2);  // never synced: due at once
    world().loop.advance(4min + 30s);
    EXPECT_EQ(home.listings[shows], 2);
    world().loop.advance(30s + 1s);
    EXPECT_EQ(home.listings[shows], 3);
    sync().startSyncAll(SyncUrgency::forced);
    world().loop.advance(1s);
    EXPECT_EQ(home.listings[shows], 4);
    sync().stopPolling();
    home.settle();

    for (const std::int64_t always : {std::int64_t{0}, std::int64_t{-5}, INT64_MIN}) {
        rule = home.rule(rule.id);
        rule.pollIntervalMinutes = always;
        sync().updateRule(rule);
        const int before = home.listings[shows];
        home.pass(SyncUrgency::whenDue);
        EXPECT_EQ(home.listings[shows], before + 1) << always;
    }
    rule = home.rule(rule.id);
    rule.pollIntervalMinutes = INT64_MAX;
    rule.lastSyncDate = timestamp(-1e300);  // longer ago than the clock can count
    sync().updateRule(rule);
    const int before = home.listings[shows];
    home.pass(SyncUrgency::whenDue);
    EXPECT_EQ(home.listings[shows], before);
}

TEST_F(Passes, leaveAPausedRuleToItsOwnButton) {
    const UUID id = home.watch(shows);
    SyncRule paused = home.rule(id);
    paused.isEnabled = false;
    sync().updateRule(paused);
    world().addFile("new.mkv", "new", shows);
    home.pass();
    EXPECT_THAT(home.arrived(), IsEmpty());
    sync().startSyncRule(id, SyncUrgency::forced);
    home.settle();
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
}

TEST_F(Passes, reportFailuresAndGoOn) {
    home.refusal = 500;
    const UUID first = home.watch(shows, "First");
    EXPECT_EQ(sync().lastError(), "Couldn't initialize First: HTTP error 500 from put.io.. Will retry.");
    home.refusal.reset();
    home.watch(season, "Second");
    home.pass();
    EXPECT_EQ(sync().lastError(), std::nullopt);
    EXPECT_TRUE(home.rule(first).isInitialized);

    const auto synced = home.rule(first).lastSyncDate;
    home.refusal = 500;
    (void)home.lines();
    home.pass();
    EXPECT_EQ(sync().lastError(), "Sync failed for Second: HTTP error 500 from put.io.");
    EXPECT_THAT(home.lines(), ElementsAre("Error syncing First: HTTP error 500 from put.io.",
                                          "Error syncing Second: HTTP error 500 from put.io."));
    EXPECT_EQ(home.rule(first).lastSyncDate, synced);
    EXPECT_FALSE(sync().isSyncing());
}

TEST_F(Passes, sayWhatArrivedOtherwiseThanPutIOHasIt) {
    for (const bool deletes : {false, true}) {
        SCOPED_TRACE(deletes);
        SyncWorld other;
        const FolderID folder = other.world.addFolder("Shows");
        SyncRule rule = other.newRule(folder, "Shows");
        rule.deleteAfterDownload = deletes;
        other.sync->addRule(rule);
        other.settle();
        const FileID file = other.world.addFile("new.mkv", "new", folder);
        other.world.announceSize(file, 1'000);
        other.pass();
        EXPECT_EQ(other.sync->lastError(),
                  "new.mkv: Arrived, but differs from put.io's record: 3 bytes instead of 1,000.");
        EXPECT_THAT(other.arrived(), ElementsAre("new.mkv"));
        EXPECT_TRUE(other.world.deletions.empty());
        other.pass();
        EXPECT_EQ(other.world.transfersOf(file), 1U) << "it is not fetched again by itself";
    }
}

TEST_F(Passes, retryWhatFailedAndForgetWhatTheUserTookOut) {
    const UUID id = home.watch(shows);
    const FileID file = world().addFile("new.mkv", "new", shows);
    world().refusals[file] = 1;
    home.pass();
    EXPECT_EQ(world().find(file)->status, Status::failed);
    EXPECT_EQ(home.rule(id).pendingFileIDs, FileIDSet{file});
    (void)home.lines();
    home.pass();
    EXPECT_THAT(home.lines(), ElementsAre("Shows: 2 files total, 0 new, 1 in flight"));
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));

    // A failed item that was removed is asked for anew, one that was waiting is not.
    const FileID unlucky = world().addFile("unlucky.mkv", "unlucky", shows);
    world().refusals[unlucky] = 1;
    home.pass();
    world().manager().remove(world().find(unlucky));
    world().manager().pauseAll();
    const FileID unwanted = world().addFile("unwanted.mkv", "unwanted", shows);
    home.pass();
    world().manager().remove(world().find(unwanted));
    EXPECT_TRUE(home.rule(id).knownFileIDs.contains(unwanted));
    world().manager().resumeAll();
    home.pass();
    EXPECT_THAT(home.arrived(), UnorderedElementsAre("new.mkv", "unlucky.mkv"));
}

TEST_F(Passes, waitAgainForWhatACancellationGaveBack) {
    const UUID id = home.watch(shows);
    const FileID file = world().addFile("new.mkv", std::string(10'000, 'n'), shows);
    world().link(file).rate = 1000;
    sync().startSyncAll(SyncUrgency::forced);
    world().loop.advance(3s);
    EXPECT_EQ(home.rule(id).pendingFileIDs, FileIDSet{file});
    world().manager().cancelAll();
    EXPECT_TRUE(home.rule(id).pendingFileIDs.isEmpty());
    world().manager().takeBack();
    EXPECT_EQ(home.rule(id).pendingFileIDs, FileIDSet{file});
    EXPECT_FALSE(home.rule(id).knownFileIDs.contains(file));
    home.settle();
    EXPECT_TRUE(home.savedRules().front().knownFileIDs.contains(file));
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
}

TEST_F(Passes, tryWhatFailedAgainLaterEachTime) {
    home.watch(shows);
    const FileID file = world().addFile("new.mkv", "new", shows);
    world().link(file).status = 501;
    home.pass();
    std::size_t transfers = world().transfersOf(file);
    for (const int minutes : {1, 2, 4, 8, 16, 32, 60, 60}) {
        SCOPED_TRACE(minutes);
        ASSERT_EQ(World::outcome(world().find(file)), "failed: HTTP error 501 from put.io.");
        home.sync->startSyncAll(SyncUrgency::forced);
        world().loop.advance(1s);
        if (minutes == 8) home.restart();
        const ConstDownloadPointer item = world().find(file);
        ASSERT_EQ(World::outcome(item), "queued");
        ASSERT_TRUE(item->hold);
        EXPECT_THAT(item->hold->textAt(world().clock.now()),
                    testing::StartsWith("Waiting after a failure: HTTP error 501 from put.io, again in "));
        world().loop.advance(std::chrono::minutes(minutes) - 30s);
        EXPECT_EQ(world().transfersOf(file), transfers);
        world().loop.advance(31s);
        EXPECT_EQ(world().transfersOf(file), ++transfers);
    }
    world().link(file).status = 200;
    world().manager().retry(world().find(file));
    home.settle();
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
    EXPECT_FALSE(world().find(file)->ruleRetry);
}

TEST_F(Passes, fetchAFileOnceThatCannotBePlaced) {
    home.watch(shows);
    const FileID file = world().addFile("new.mkv", "new", shows);
    world().files.failNext("moveItem", SyncWorld::local / "new.mkv", {ErrorCase::file, "The disk is broken."}, 3);
    for (int pass = 0; pass < 3; ++pass) {
        home.pass();
        EXPECT_EQ(World::outcome(world().find(file)), "failed: The disk is broken.");
        EXPECT_EQ(world().files.files(World::partials).size(), 1U);
    }
    home.pass();
    EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
    EXPECT_EQ(world().transfersOf(file), 1U);
}

TEST_F(Passes, doNotQueueAFileTwiceThatLeftTheFolderForAWhile) {
    home.watch(shows);
    world().manager().pauseAll();
    const FileID file = world().addFile("new.mkv", "new", shows);
    home.pass();
    world().move(file, rootFolderID);
    home.pass();
    world().move(file, season);
    home.pass();
    EXPECT_EQ(world().manager().downloads().items().size(), 1U);
}

TEST_F(Passes, copeWithRulesThatChangeWhileTheirFoldersAreListed) {
    struct Case {
        const char* why;
        std::function<void(SyncWorld&, SyncRule first, SyncRule second)> change;
        std::size_t queued;
    };

    const Case cases[] = {
        {"deleted", [](SyncWorld& it, const SyncRule& first, const SyncRule&) { it.sync->deleteRule(first.id); }, 0},
        {"both deleted: no rule stands at the next place",
         [](SyncWorld& it, const SyncRule& first, const SyncRule& second) {
             it.sync->deleteRule(second.id);
             it.sync->deleteRule(first.id);
         },
         0},
        {"led to another folder and back: what came before that is no news",
         [](SyncWorld& it, SyncRule first, const SyncRule& second) {
             const FolderID folder = std::exchange(first.putioFolderID, second.putioFolderID);
             it.sync->updateRule(first);
             first.putioFolderID = folder;
             it.sync->updateRule(first);
         },
         1},
        {"renamed",
         [](SyncWorld& it, SyncRule first, const SyncRule&) {
             first.putioFolderName = "Renamed";
             it.sync->updateRule(first);
         },
         2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        SyncWorld it;
        const FolderID one = it.world.addFolder("One");
        const FolderID two = it.world.addFolder("Two");
        const UUID first = it.watch(one);
        const UUID second = it.watch(two);
        it.world.manager().pauseAll();
        it.world.addFile("a", "a", one);
        it.world.addFile("b", "b", two);
        it.sync->startSyncAll(SyncUrgency::forced);
        c.change(it, it.rule(first), it.rule(second));
        it.settle();
        EXPECT_EQ(it.world.manager().downloads().items().size(), c.queued);
    }
}

TEST_F(Passes, keepTheFirstOfTwoInventories) {
    sync().addRule(home.newRule(shows, "Shows"));
    world().loop.advance(10ms);
    sync().startSyncAll(SyncUrgency::forced);  // its inventory ends after the first
    world().loop.advance(35ms);
    ASSERT_TRUE(sync().rules()[0].isInitialized);
    world().addFile("new.mkv", "new", season);
    home.settle();
    home.pass();
    EXPECT_THAT(home.arrived(), ElementsAre("Season 1/new.mkv"));
}

TEST_F(Passes, writeNowhereWithoutALocalFolder) {
    for (const char* path : {"", "Downloads"}) {
        SyncRule rule = home.newRule(shows, "Shows");
        rule.localFolderPath = path;
        sync().addRule(rule);
        home.settle();
        world().addFile("new.mkv", "new", shows);
        home.pass();
        EXPECT_EQ(sync().lastError(),
                  "Sync failed for Shows: The rule has no local folder to download into. Edit it and choose one.");
        EXPECT_TRUE(world().manager().downloads().items().empty());
        sync().deleteRule(rule.id);
    }
}

TEST_F(Passes, oneAtATime) {
    home.watch(shows);
    (void)home.lines();
    sync().startSyncAll(SyncUrgency::forced);
    sync().startSyncAll(SyncUrgency::forced);
    sync().startSyncRule(sync().rules()[0].id, SyncUrgency::forced);
    EXPECT_THAT(home.lines(), ElementsAre("Already syncing, skipping"));
    home.settle();
    EXPECT_EQ(home.listings[shows], 2);

    SyncManager bare(syncPorts(world().platform()));
    bare.startSyncAll(SyncUrgency::forced);
    EXPECT_THAT(home.lines(), testing::Contains("Not configured — api or downloadManager is nil"));
}

TEST_F(Passes, endWithTheirTask) {
    home.watch(shows);
    for (int turns = 0; turns < 5; ++turns) {
        {
            TaskScope scope;
            scope.start(sync().syncAll(SyncUrgency::forced, scope.stopToken()));
            world().loop.advance(10ms * turns);
        }
        EXPECT_FALSE(sync().isSyncing());
    }
    for (int turns = 0; turns < 5; ++turns) {  // and polling with its manager
        sync().startPolling();
        world().loop.advance(10ms * turns);
        home.restart();
        EXPECT_FALSE(sync().isPolling());
    }
    home.settle();
}

TEST_F(Passes, pollingEndsAtOnceAndSaysOnceThatTheServiceRefusedTheToken) {
    home.watch(shows);
    home.watch(season, "Season");
    world().manager().pauseAll();
    world().addFile("new.mkv", "new", shows);
    sync().startPolling();
    world().loop.advance(61s);
    (void)home.lines();
    home.refusal = 401;
    const Subscription application = world().auth().onChange([&](AuthManager::Change) {  // while the answer is read
        if (!world().auth().isAuthenticated()) sync().stopPolling();
    });
    world().loop.advance(10min);
    EXPECT_EQ(home.lines().size(), 1U);
    EXPECT_FALSE(sync().isSyncing());
    EXPECT_TRUE(world().loop.isIdle());
    EXPECT_EQ(world().manager().downloads().items().size(), 1U);

    home.refusal.reset();
    world().signIn();
    sync().startPolling();
    world().loop.advance(50ms);
    sync().stopPolling();  // signed out and in again while a pass waits
    sync().startPolling();
    world().loop.advance(1s);
    EXPECT_EQ(sync().lastError(), std::nullopt);
    sync().stopPolling();
    home.settle();
}

}  // namespace
}  // namespace tovri::test
