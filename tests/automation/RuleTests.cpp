// The rules, their file, and what becomes of both when the process or the power ends.
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "support/TemporaryFolder.h"
#include "support/WholeText.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const UUID someID = UUID::parse("0123ABCD-0000-4000-8000-00000000000F").value();

std::string rulesText(const std::vector<SyncRule>& rules) {
    return wholeText([&](const FileManager::Sink& sink) { return encodeRules(rules, sink); });
}

std::string written(const std::string& members) {
    return R"([{"id":"0123ABCD-0000-4000-8000-00000000000F","putioFolderID":9,"putioFolderName":"A\/B",)"
           R"("localFolderPath":"\/home\/user","deleteAfterDownload":true,"isEnabled":false,"pollIntervalMinutes":15,)"
           R"("knownFileIDs":[3,1,2,3])" +
           members + "}]";
}

TEST(RulesFile, hasItsFormat) {
    SyncRule rule;
    rule.id = someID;
    rule.putioFolderID = FolderID(9);
    rule.putioFolderName = "A/B";
    rule.localFolderPath = "/home/user";
    rule.localFolderBookmark = "bookmark";
    rule.deleteAfterDownload = true;
    rule.knownFileIDs = {FileID(3), FileID(1), FileID(INT64_MAX)};
    rule.isInitialized = true;
    rule.lastSyncDate = Timestamp(std::chrono::sys_days{std::chrono::year{2001} / 1 / 2}) + 500ms;
    EXPECT_EQ(rulesText({rule}),
              R"([{"id":"0123ABCD-0000-4000-8000-00000000000F","putioFolderID":9,"putioFolderName":"A\/B",)"
              R"("localFolderPath":"\/home\/user","localFolderBookmark":"Ym9va21hcms=","deleteAfterDownload":true,)"
              R"("isEnabled":true,"pollIntervalMinutes":5,"knownFileIDs":[1,3,9223372036854775807],)"
              R"("pendingFileIDs":[],"isInitialized":true,"lastSyncDate":86400.5}])");

    rule.stockIsWhole = true;
    EXPECT_THAT(rulesText({rule}), HasSubstr(R"("isInitialized":true,"stockIsWhole":true,)"));
    rule.localFolderBookmark.reset();
    rule.lastSyncDate.reset();
    EXPECT_THAT(rulesText({rule}), testing::Not(testing::AnyOf(HasSubstr("Bookmark"), HasSubstr("lastSync"))));

    rule.localFolderPath = "/home/\xE9t\xE9";  // a file with these bytes would be lost as a whole
    EXPECT_EQ(decodeRules(rulesText({rule})).value()[0].localFolderPath, "/home/?t?");
}

TEST(RulesFile, isReadWithWhatIsMissing) {
    const SyncRule bare = decodeRules(written("")).value().at(0);
    EXPECT_TRUE(bare.isInitialized);
    EXPECT_FALSE(bare.stockIsWhole);
    EXPECT_TRUE(bare.pendingFileIDs.isEmpty());
    EXPECT_EQ(bare.lastSyncDate, std::nullopt);
    EXPECT_EQ(bare.knownFileIDs, (FileIDSet{FileID(1), FileID(2), FileID(3)}));
    EXPECT_EQ(bare.putioFolderName, "A/B");
    const SyncRule whole = decodeRules(written(R"(,"new":{"a":[1]},"lastSyncDate":1e300,"isInitialized":false,)"
                                               R"("localFolderBookmark":"Ym9va21hcms=","pendingFileIDs":[7],)"
                                               R"("stockIsWhole":true)"))
                               .value()
                               .at(0);
    EXPECT_FALSE(whole.isInitialized);
    EXPECT_TRUE(whole.stockIsWhole);
    EXPECT_EQ(whole.localFolderBookmark, "bookmark");
    EXPECT_EQ(whole.pendingFileIDs, FileIDSet{FileID(7)});
}

TEST(RulesFile, isRefusedAsAWhole) {
    const std::string good = written("");
    const auto with = [&](const char* from, const char* to) { return std::regex_replace(good, std::regex(from), to); };
    const std::string cases[] = {
        "",
        "{}",  // a newer version might look so
        "[1]",
        good + good,                                  // something follows
        good.substr(0, good.size() - 5),              // torn
        with("\"putioFolderName\":\"[^\"]*\",", ""),  // a required key
        with("\"isEnabled\":false", "\"isEnabled\":0"),
        with("15", "15.5"),
        with("15", "99999999999999999999"),
        with("\\[3,1,2,3\\]", "[\"3\"]"),
        with("\\[3,1,2,3\\]", "null"),
        with("0123ABCD", "0123ABC"),
        written(R"(,"localFolderBookmark":"*")"),
        written(R"(,"lastSyncDate":"today")"),
    };
    for (const std::string& text : cases) EXPECT_FALSE(decodeRules(text)) << text;
}

TEST(Rules, keepADamagedFileAsideBeforeTheyReplaceIt) {
    SyncWorld home;
    const auto file = home.sync->storageURL();
    for (int round = 1; round <= 2; ++round) {
        home.kill();
        home.world.files.put(file, "damaged " + std::to_string(round));
        home.start();
        home.restart();  // reading alone leaves it as it is
        EXPECT_THAT(home.sync->rules(), IsEmpty());
        EXPECT_THAT(home.lines(), testing::Contains(HasSubstr("Ignoring unreadable rules at ")));
        EXPECT_EQ(home.world.files.content(file), "damaged " + std::to_string(round));
        home.world.files.failNext("cloneFile", file, {ErrorCase::file, "The disk is full."});
        home.watch(rootFolderID);
        home.watch(rootFolderID);
        const auto aside = "sync-rules.unreadable-" + std::to_string(round) + ".json";
        EXPECT_EQ(home.world.files.content(World::data / aside), "damaged " + std::to_string(round));
        EXPECT_EQ(home.savedRules().size(), 2U);
    }
}

TEST(Rules, areChangedAsTheirEditorSays) {
    SyncWorld home;
    const FolderID shows = home.world.addFolder("Shows");
    const FileID file = home.world.addFile("old", "old", shows);
    std::vector<std::pair<SyncChange::Kind, std::size_t>> told;
    home.told = [&](const SyncChange& change) { told.emplace_back(change.kind, change.index); };
    SyncRule rule = home.newRule(shows, "Shows");
    rule.isInitialized = true;
    home.sync->addRule(rule);
    EXPECT_FALSE(home.rule(rule.id).isInitialized);
    home.settle();
    using Kind = SyncChange::Kind;
    EXPECT_THAT(told, ElementsAre(std::pair(Kind::ruleAdded, 0), std::pair(Kind::ruleChanged, 0)));

    SyncRule edited = home.rule(rule.id);
    edited.knownFileIDs = {FileID(1)};
    edited.pendingFileIDs = {FileID(2)};
    edited.isEnabled = false;
    edited.lastSyncDate = home.world.clock.now();
    home.sync->updateRule(edited);
    home.settle();
    EXPECT_EQ(home.savedRules().at(0).knownFileIDs, FileIDSet{FileID(1)});
    EXPECT_EQ(home.savedRules().at(0).pendingFileIDs, FileIDSet{FileID(2)});
    EXPECT_FALSE(home.savedRules().at(0).isEnabled);

    // What settled while the editor was open is not undone by what it kept.
    const SyncRule opened = home.rule(rule.id);
    home.sync->fileSettled(rule.id, FileID(2));
    home.sync->updateRule(opened);
    EXPECT_EQ(home.rule(rule.id).knownFileIDs, (FileIDSet{FileID(1), FileID(2)}));
    EXPECT_TRUE(home.rule(rule.id).pendingFileIDs.isEmpty());

    edited = home.rule(rule.id);
    edited.putioFolderID = rootFolderID;
    home.sync->updateRule(edited);
    EXPECT_TRUE(home.rule(rule.id).knownFileIDs.isEmpty());
    EXPECT_EQ(home.rule(rule.id).lastSyncDate, std::nullopt);
    home.settle();
    EXPECT_EQ(home.rule(rule.id).knownFileIDs, FileIDSet{file});

    edited.id = someID;
    home.sync->updateRule(edited);
    home.sync->deleteRule(someID);
    home.sync->fileSettled(someID, FileID(5));
    EXPECT_EQ(home.sync->rules().size(), 1U);
    home.sync->deleteRule(rule.id);
    home.settle();
    EXPECT_EQ(home.world.files.content(home.sync->storageURL()), "[]");
}

TEST(Rules, ofOneIDAreNoHarm) {
    SyncWorld home;
    const FolderID shows = home.world.addFolder("Shows");
    const UUID id = home.watch(shows);
    const SyncRule twin = home.rule(id);
    home.sync->saveNow().value();
    home.kill();
    home.world.files.put(World::data / "sync-rules.json", rulesText({twin, twin}));
    home.start();
    home.world.addFile("new.mkv", "new", shows);
    home.pass();
    home.world.manager().clearFinished();
    home.pass();
    EXPECT_EQ(home.sync->rules().size(), 2U);
    EXPECT_TRUE(home.world.manager().downloads().items().empty());
    home.sync->deleteRule(id);
    EXPECT_THAT(home.sync->rules(), IsEmpty());
}

// A process that dies at any moment between the listing of a new file and the last save leaves the next one enough to
// bring the file, and to bring it once.
TEST(Rules, bringAFileOnceWheneverTheProcessDies) {
    for (const bool losesPower : {false, true}) {
        for (int moment = 0; moment < 60; ++moment) {
            SCOPED_TRACE(std::to_string(moment) + (losesPower ? ", without power" : ""));
            SyncWorld home;
            for (const char* lane : {"rules", "saves"}) home.world.volumes.longestDelays[lane] = 14ms;
            const FolderID shows = home.world.addFolder("Shows");
            home.watch(shows);
            home.world.addFile("new.mkv", "new", shows);
            home.sync->startSyncAll(SyncUrgency::forced);
            home.world.loop.advance(moment * 12ms);
            if (losesPower)
                home.losePower();
            else
                home.kill();
            home.start();
            home.settle();
            home.pass();
            if (!losesPower) EXPECT_THAT(home.arrived(), ElementsAre("new.mkv"));
            // What a loss of power took may be fetched once more, beside what it left.
            const auto tree = home.arrived();
            EXPECT_TRUE(std::ranges::any_of(tree, [&](const std::string& name) {
                return home.world.files.durableFiles()[SyncWorld::local / name] == "new";
            }));
            home.world.manager().clearFinished();
            home.pass();
            EXPECT_EQ(home.arrived(), tree);
        }
    }
}

// The newest rules are what the file holds in the end, whichever thread wrote first.
TEST(Rules, areWrittenInTheirOrder) {
    SyncWorld fakes;
    PosixMainLoop loop;
    PosixFileManager files;
    Platform platform = fakes.world.platform();
    const TemporaryFolder folder;
    platform.folders.applicationData = folder.path;
    PosixBackgroundQueue background(loop);
    PosixVolumeQueues volumes;
    const Platform real{loop,       platform.clock, platform.random, files,           platform.folderAccess,
                        background, volumes,        platform.log,    platform.folders};
    for (std::int64_t round = 0; round < 20; ++round) {
        SyncRuleStore store(syncPorts(real));
        SyncRule rule = fakes.newRule(FolderID(round), "Shows");
        for (std::int64_t settled = 0; settled < 50; ++settled) {
            rule.knownFileIDs.insert(FileID(settled));
            store.save({rule}, {});
        }
        store.finish().value();
        EXPECT_EQ(SyncRuleStore(syncPorts(real)).load().at(0).knownFileIDs.size(), 50U);
    }
}

// A disk that hangs leaves its own files in doubt, and no others.
TEST(Rules, areWrittenWhileADestinationHangs) {
    SyncWorld home;
    home.world.files.addVolume("/mnt/slow");
    const FolderID shows = home.world.addFolder("Shows");
    const FolderID films = home.world.addFolder("Films");
    home.watch(shows);
    SyncRule slow = home.newRule(films, "Films");
    slow.localFolderPath = "/mnt/slow";
    home.sync->addRule(slow);
    home.settle();
    const FileID here = home.world.addFile("here", "x", shows);
    const FileID there = home.world.addFile("there", "x", films);
    const std::string lane = "volume " + std::to_string(home.world.files.identity("/mnt/slow")->volume) + " sync";
    home.world.volumes.hang(lane);
    home.sync->startSyncAll(SyncUrgency::forced);
    home.world.loop.advance(10s);
    EXPECT_EQ(home.rule(slow.id).knownFileIDs, FileIDSet{there});
    EXPECT_EQ(home.savedRules().at(0).knownFileIDs, FileIDSet{here});
    EXPECT_EQ(home.savedRules().at(1).knownFileIDs, FileIDSet{});
    EXPECT_EQ(home.savedRules().at(1).pendingFileIDs, FileIDSet{there});
    EXPECT_TRUE(home.sync->saveNow());
    home.world.volumes.goOn(lane);
    home.world.loop.advance(1s);
    EXPECT_EQ(home.savedRules().at(1).knownFileIDs, FileIDSet{there});
}

TEST(Rules, sayThatTheyCannotBeWritten) {
    SyncWorld home;
    const UUID id = home.watch(home.world.addFolder("Shows"));
    home.world.files.failNext("writeFileAtomically", home.sync->storageURL(), {ErrorCase::file, "The disk is full."});
    home.sync->fileSettled(id, FileID(1));
    home.settle();
    EXPECT_EQ(home.sync->lastError(), "The rules cannot be saved. The disk is full.");
    EXPECT_FALSE(home.sync->saveNow());
    home.sync->fileSettled(id, FileID(2));  // brings all of them
    EXPECT_TRUE(home.sync->saveNow());
    EXPECT_EQ(home.savedRules().at(0).knownFileIDs.size(), 2U);

    home.world.volumes.hang("rules");
    home.sync->fileSettled(id, FileID(3));
    EXPECT_FALSE(home.sync->saveNow());  // returns
    home.world.volumes.goOn("rules");
}

}  // namespace
}  // namespace tovri::test
