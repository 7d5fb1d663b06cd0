// Where a received file ends up.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "downloads/placing/Destination.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

TEST(Destination, numbersATakenName) {
    struct Case {
        const char* name;
        const char* expected;
    };

    const Case cases[] = {
        {"Report.pdf", "Report (1).pdf"}, {"archive.tar.gz", "archive.tar (1).gz"},
        {"README", "README (1)"},         {".hidden", ".hidden (1)"},
        {"ends.", "ends. (1)"},           {"a b (1).txt", "a b (1) (1).txt"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(numberedDestination(World::Path("/d.x") / c.name, 1), World::Path("/d.x") / c.expected);
}

class Placing : public testing::Test {
public:
    // A file whose name is taken by the user's.
    ConstDownloadPointer conflicting(const std::string& name) {
        world.files.put(World::downloads / name, "old");
        return world.enqueue(world.addFile(name, "new " + name));
    }

    [[nodiscard]] std::string shown() {
        const FileConflict* conflict = manager.pendingConflict();
        return conflict ? conflict->existingURL.filename().native() : "";
    }

    World world;
    DownloadManager& manager = world.manager();
};

TEST_F(Placing, followsThePreferenceForATakenName) {
    struct Case {
        ConflictBehavior behavior;
        const char* tree;
        const char* outcome;
    };

    const Case cases[] = {
        {ConflictBehavior::keepBoth, "R (1).pdf=older R (2).pdf=new R.pdf R.pdf=old", "completed"},
        {ConflictBehavior::replace, "R (1).pdf=older R.pdf=new R.pdf", "completed"},
        {ConflictBehavior::skip, "R (1).pdf=older R.pdf=old", "skipped"},
    };
    for (const Case& c : cases) {
        World other;
        other.preferences.setConflictBehavior(c.behavior);
        other.files.put(World::downloads / "R.pdf", "old");
        other.files.put(World::downloads / "R (1).pdf", "older");
        const ConstDownloadPointer item = other.enqueue(other.addFile("R.pdf", "new R.pdf"));
        other.settle();
        EXPECT_EQ(World::outcome(item), c.outcome);
        EXPECT_EQ(other.tree(), c.tree);
        EXPECT_EQ(item->resolvedURL.has_value(), item->status == Status::completed);
        EXPECT_TRUE(item->completedAt && !item->stagedURL && other.files.files(World::staging).empty());
    }
}

TEST_F(Placing, answersAllConflictsAtOnce) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    world.preferences.setMaxConcurrentDownloads(9);
    world.volumes.longestDelay = {};  // they arrive in the order in which they start
    const ConstDownloadPointer first = conflicting("1");
    const ConstDownloadPointer second = conflicting("2");
    const ConstDownloadPointer third = conflicting("3");
    const ConstDownloadPointer fourth = conflicting("4");
    world.link(fourth->fileID).rate = 1;  // still on its way
    ASSERT_TRUE(world.runUntil(third, Status::awaitingConflict));
    EXPECT_EQ(shown(), "1");
    manager.retry(second);  // goes to the end of the line
    ASSERT_TRUE(world.runUntil(second, Status::awaitingConflict));
    manager.resolveConflict(ConflictChoice::skip, false);
    EXPECT_EQ(shown(), "3");
    manager.resolveConflict(ConflictChoice::keepBoth, true);
    EXPECT_EQ(shown(), "");
    const ConstDownloadPointer later = conflicting("5");
    world.settle();
    EXPECT_EQ(shown(), "5");  // queued after the answer
    EXPECT_EQ(world.tree(), "1=old 2=old 2 (1)=new 2 3=old 3 (1)=new 3 4=old 4 (1)=new 4 5=old");
    manager.cancel(later);
    EXPECT_EQ(shown(), "");
    const ConstDownloadPointer last = conflicting("6");
    world.settle();
    EXPECT_EQ(World::outcome(first) + " " + World::outcome(last), "skipped awaitingConflict");
    EXPECT_EQ(world.files.files(World::staging).size(), 1U);
}

TEST_F(Placing, withdrawsTheConflictOfAnItemThatGoes) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    const ConstDownloadPointer first = conflicting("1");
    const ConstDownloadPointer second = conflicting("2");
    const ConstDownloadPointer third = conflicting("3");
    ASSERT_TRUE(world.runUntil(third, Status::awaitingConflict));
    manager.remove(second);
    EXPECT_EQ(shown(), "1");
    manager.cancel(first);
    EXPECT_EQ(shown(), "3");
    world.settle();
    EXPECT_EQ(world.files.files(World::staging).size(), 1U);
    manager.cancelAll();
    EXPECT_EQ(shown(), "");
    world.settle();
    manager.resolveConflict(ConflictChoice::replace, true);  // nobody asked
    EXPECT_EQ(world.tree(), "1=old 2=old 3=old");
    EXPECT_TRUE(world.files.files(World::staging).empty());
}

TEST_F(Placing, asksAgainAfterARestart) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    const FileID taken = conflicting("taken")->fileID;
    const FileID freed = conflicting("freed")->fileID;
    const FileID lost = conflicting("lost")->fileID;
    world.settle();
    EXPECT_TRUE(world.files.removeItem(World::downloads / "freed"));
    EXPECT_TRUE(world.files.removeItem(*world.find(lost)->stagedURL));
    world.files.put(World::staging / "orphan", "x");
    world.kill();
    world.start();
    EXPECT_EQ(World::outcome(world.find(lost)), "downloading");
    EXPECT_EQ(world.find(lost)->progress, 0);
    world.settle();
    EXPECT_EQ(World::outcome(world.find(freed)), "completed");
    EXPECT_EQ(world.files.files(World::staging).size(), 2U);
    while (world.manager().pendingConflict()) world.manager().resolveConflict(ConflictChoice::replace, false);
    world.settle();
    EXPECT_EQ(world.tree(), "freed=new freed lost=new lost taken=new taken");
    EXPECT_EQ(world.transfersOf(taken), 1U);
    EXPECT_EQ(world.transfersOf(lost), 2U);
}

TEST_F(Placing, crossesVolumes) {
    world.files.addVolume("/mnt/usb");
    world.files.put("/mnt/usb/taken", "old");
    for (const char* name : {"free", "taken"})
        world.enqueue(world.addFile(name, "new"), {.destination = DestinationFolder{"/mnt/usb/deep", {}}});
    world.enqueue(world.addFile("taken", "new"), {.destination = DestinationFolder{"/mnt/usb", {}}});
    world.settle();
    EXPECT_EQ(world.files.files("/mnt/usb"), (std::map<World::Path, std::string>{{"/mnt/usb/deep/free", "new"},
                                                                                 {"/mnt/usb/deep/taken", "new"},
                                                                                 {"/mnt/usb/taken", "old"},
                                                                                 {"/mnt/usb/taken (1)", "new"}}));
}

TEST_F(Placing, takesAccessForEachStepAndNoLonger) {
    const auto bookmark = world.folderAccess.makeBookmark("/granted");
    world.enqueue(world.addFile("x", "x"), {.destination = DestinationFolder{"/granted", *bookmark}});
    world.enqueue(world.addFile("y", "y"), {.destination = DestinationFolder{"/gone", "unknown bookmark"}});
    world.settle();
    EXPECT_TRUE(world.files.exists("/granted/x") && world.files.exists("/gone/y"));
    EXPECT_GE(world.folderAccess.starts, 1);
    EXPECT_TRUE(world.folderAccess.open.empty());
}

TEST_F(Placing, keepsOutOfItsOwnData) {
    for (const World::Path& folder : {World::data, World::data / "Staging/deep", World::Path("/data")}) {
        const ConstDownloadPointer item =
            world.enqueue(world.addFile("Tovri", "x"), {.destination = DestinationFolder{folder, {}}});
        world.settle();
        EXPECT_EQ(World::outcome(item), "failed: \"" + (folder / "Tovri").native() +
                                            "\" belongs to Tovri's own data. Choose another folder, then queue it "
                                            "again.");
        EXPECT_EQ(world.transfersOf(item->fileID), 0U);
    }
}

// Each failure has its reason, loses nothing on put.io, and a retry after it was mended arrives.
TEST_F(Placing, failsWithTheReasonOfTheDisk) {
    struct Case {
        const char* what;
        void (*arrange)(MemoryFileManager&);
        void (*mend)(MemoryFileManager&);
        const char* reason;
    };

    const Case cases[] = {
        {"a file stands where the folder should go",
         [](auto& files) { files.put("/home/user/Downloads", "not a folder"); },
         [](auto& files) { (void)files.removeItem("/home/user/Downloads"); }, "is not a folder"},
        {"cannot be moved",
         [](auto& files) {
             files.failNext("moveItem", World::downloads / "f", {ErrorCase::file, "The disk is broken."});
         },
         [](auto&) {}, "The disk is broken."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        World other;
        c.arrange(other.files);
        const ConstDownloadPointer item =
            other.enqueue(other.addFile("f", std::string(100, 'x')), {.deleteAfterDownload = true});
        ASSERT_TRUE(other.runUntil(item, Status::failed));
        EXPECT_THAT(World::outcome(item), testing::HasSubstr(c.reason));
        other.loop.advance(std::chrono::seconds(10));
        EXPECT_TRUE(other.deletions.empty());
        EXPECT_FALSE(other.files.exists(World::downloads / "f"));
        c.mend(other.files);
        other.manager().retry(item);
        other.settle();
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(other.files.content(World::downloads / "f"), std::string(100, 'x'));
        EXPECT_EQ(other.deletions.size(), 1U);
    }
}

TEST_F(Placing, deletesNothingWhoseSizeIsNotTheAnnouncedOne) {
    const FileID file = world.addFile("f", "short");
    world.announceSize(file, 6);
    const ConstDownloadPointer deleting = world.enqueue(file, {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(World::outcome(deleting),
              "remoteDeleteFailed: Arrived, but differs from put.io's record: 5 bytes instead of 6.");
    EXPECT_TRUE(world.deletions.empty());
    EXPECT_EQ(world.tree(), "f=short");
}

TEST_F(Placing, keepsBothWithoutPreferences) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    conflicting("f");
    world.settle();
    world.kill();
    DownloadManager bare(world.ports());
    EXPECT_EQ(bare.resolveDestination(std::nullopt).folder, World::downloads);
    bare.restoreQueue();
    world.settle();
    EXPECT_EQ(world.tree(), "f=old f (1)=new f");
}

}  // namespace
}  // namespace tovri::test
