// Rules over folders that put.io does not list in one answer.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "support/WholeText.h"

namespace tovri::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// A folder of 3,000 files that put.io lists in pages of 50.
class LongFolders : public testing::Test {
public:
    LongFolders() {
        world().pageSize = 50;
        folder = world().addFolder("Long");
        for (int i = 0; i < 3000; ++i) files.push_back(world().addFile("f" + std::to_string(i), "x", folder));
    }

    // A rules file from before whole listings, whose stock is the first `count` files.
    UUID startWithOldRule(std::size_t count) {
        SyncRule rule = home.newRule(folder, "Long");
        rule.knownFileIDs = FileIDSet(std::vector(files.begin(), files.begin() + static_cast<std::ptrdiff_t>(count)));
        rule.isInitialized = true;
        const std::string text = wholeText([&](const FileManager::Sink& sink) { return encodeRules({rule}, sink); });
        EXPECT_FALSE(text.contains("stockIsWhole"));
        home.kill();
        world().files.put(World::data / "sync-rules.json", text);
        home.start();
        return rule.id;
    }

    World& world() { return home.world; }

    SyncManager& sync() { return *home.sync; }

    SyncWorld home;
    FolderID folder;
    std::vector<FileID> files;
};

TEST_F(LongFolders, theRestOfACutStockIsKnownOnceAndNotBrought) {
    const UUID id = startWithOldRule(49);  // the fiftieth has come since
    home.pass();
    EXPECT_THAT(home.lines(),
                ElementsAre("Long: 2950 files that put.io had not listed before count as known and are not downloaded",
                            "Long: 3000 files total, 1 new, 0 in flight", "Enqueued 1 files for download"));
    EXPECT_THAT(home.arrived(), ElementsAre("f49"));
    EXPECT_TRUE(home.savedRules().at(0).stockIsWhole);
    EXPECT_EQ(home.rule(id).knownFileIDs.size(), 3000U);

    home.restart();
    world().addFile("new", "new", folder);
    world().addFile("deep", "deep", world().addFolder("Sub", folder));
    home.pass();
    EXPECT_THAT(home.arrived(), UnorderedElementsAre("f49", "new", "Sub/deep"));
}

TEST_F(LongFolders, whatTheRuleHasAskedForIsNoRest) {
    const UUID id = startWithOldRule(50);
    world().manager().pauseAll();
    world().enqueue(files[2000], {.destination = DestinationFolder{SyncWorld::local, {}}, .syncRuleID = id});
    home.pass();
    EXPECT_EQ(home.rule(id).pendingFileIDs, FileIDSet{files[2000]});
    EXPECT_EQ(home.rule(id).knownFileIDs.size(), 2999U);
}

TEST_F(LongFolders, noStockIsTakenOfWhatCannotBeRead) {
    world().cutListings.insert(folder);
    const UUID id = home.watch(folder, "Long");
    const std::string reason = "put.io listed only the beginning of a folder. HTTP error 400 from put.io.";
    EXPECT_EQ(sync().lastError(), "Couldn't initialize Long: " + reason + ". Will retry.");
    EXPECT_FALSE(home.rule(id).isInitialized);
    world().cutListings.clear();
    home.pass();
    EXPECT_TRUE(home.rule(id).stockIsWhole);
    EXPECT_EQ(home.rule(id).knownFileIDs.size(), 3000U);

    world().cutListings.insert(folder);
    world().addFile("new", "new", folder);
    home.pass();
    EXPECT_EQ(sync().lastError(), "Sync failed for Long: " + reason);
    EXPECT_THAT(home.arrived(), IsEmpty());
}

TEST_F(LongFolders, theRestIsNotBroughtWhenThePreferenceWasOffForAWhile) {
    world().preferences.setReadLongFolders(false);
    SyncRule rule = home.newRule(folder, "Long");
    rule.deleteAfterDownload = true;
    sync().addRule(rule);
    home.settle();
    const std::string said =
        "Long: put.io listed only the beginning of a folder. Reading long folders to their end is turned off.";
    EXPECT_EQ(sync().lastError(), said);
    EXPECT_EQ(home.rule(rule.id).knownFileIDs.size(), 50U);
    world().takeAway(files[0]);  // makes room in the first page for an old file
    home.pass();
    EXPECT_EQ(sync().lastError(), said);
    EXPECT_THAT(home.arrived(), ElementsAre("f50"));
    EXPECT_THAT(world().deletions, IsEmpty());

    world().preferences.setReadLongFolders(true);
    home.pass();
    EXPECT_EQ(sync().lastError(), std::nullopt);
    EXPECT_THAT(home.lines(), testing::Contains(testing::StartsWith("Long: 2949 files that put.io had not listed")));
    EXPECT_THAT(home.arrived(), ElementsAre("f50"));

    rule = home.rule(rule.id);
    rule.putioFolderID = world().addFolder("Short");  // begins anew, with a stock of its own
    world().preferences.setReadLongFolders(false);
    sync().updateRule(rule);
    EXPECT_FALSE(home.rule(rule.id).stockIsWhole);
    home.settle();
    EXPECT_TRUE(home.rule(rule.id).stockIsWhole);  // a short folder is whole all the same
}

}  // namespace
}  // namespace tovri::test
