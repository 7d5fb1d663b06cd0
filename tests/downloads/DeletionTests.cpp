// What is deleted from put.io, and when.
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Deleting : public testing::Test {
public:
    // A folder of three files, one of them in a sub-folder, queued with its deletion.
    void enqueueFolder() {
        folder = world.addFolder("F");
        for (const char* name : {"a", "b"}) members.push_back(world.addFile(name, name, folder));
        subfolder = world.addFolder("G", folder);
        members.push_back(world.addFile("c", "c", subfolder));
        world.enqueueFolder(folder, true);
    }

    DownloadPointer member(std::size_t index) { return world.find(members[index]); }

    [[nodiscard]] std::string outcomes() {
        std::string text;
        for (const std::int64_t id : members) text += World::outcome(world.find(id)) + " ";
        return text;
    }

    World world;
    DownloadManager& manager = world.manager();
    std::int64_t folder = 0;
    std::int64_t subfolder = 0;
    std::vector<std::int64_t> members;
};

TEST_F(Deleting, deletesAFolderOnceWhenAllOfItHasArrived) {
    enqueueFolder();
    world.loop.advance(20ms);  // listed
    std::size_t deleting = 0;
    world.watch = [&](DownloadManager& queue, const QueueChange&) {
        deleting = std::max(deleting, queue.downloads().count(Status::deleting));
    };
    world.settle();
    EXPECT_EQ(outcomes(), "completed completed completed ");
    EXPECT_EQ(world.deletions, std::vector{folder});
    EXPECT_EQ(deleting, 3U);
}

TEST_F(Deleting, keepsAFolderOfWhichSomethingIsMissing) {
    struct Case {
        const char* what;
        void (*spoil)(World&, const DownloadPointer&);
        const char* outcome;
    };

    const Case cases[] = {
        {"skipped",
         [](World& world, const DownloadPointer&) {
             world.preferences.setConflictBehavior(ConflictBehavior::skip);
             world.files.put(World::downloads / "F/a", "the user's");
         },
         "skipped"},
        {"failed", [](World& world, const DownloadPointer& item) { world.link(item->fileID).status = 410; },
         "failed: HTTP error 410 from put.io."},
        {"cancelled", [](World& world, const DownloadPointer& item) { world.manager().cancel(item); }, "cancelled"},
        {"removed", [](World& world, const DownloadPointer& item) { world.manager().remove(item); }, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        World other;
        const std::int64_t id = other.addFolder("F");
        const std::int64_t a = other.addFile("a", "a", id);
        const std::int64_t b = other.addFile("b", "b", id);
        other.enqueueFolder(id, true);
        ASSERT_TRUE(other.loop.runUntil([&] { return other.find(a) != nullptr; }));
        const DownloadPointer item = other.find(a);
        c.spoil(other, item);
        other.settle();
        if (c.outcome) EXPECT_EQ(World::outcome(item), c.outcome);
        EXPECT_EQ(World::outcome(other.find(b)), "completed");
        EXPECT_TRUE(other.deletions.empty());
    }
}

TEST_F(Deleting, countsAMemberThatArrivedOnItsSecondTry) {
    enqueueFolder();
    ASSERT_TRUE(world.loop.runUntil([&] { return member(0) != nullptr; }));
    world.link(members[0]).breaks = {{.at = 0, .isResumable = false}};
    ASSERT_TRUE(world.runUntil(member(0), Status::failed));
    manager.retry(member(0));  // before the others have arrived
    world.settle();
    EXPECT_EQ(outcomes(), "completed completed completed ");
    EXPECT_EQ(world.deletions, std::vector{folder});
}

TEST_F(Deleting, keepsAFolderThatWasNotListedToItsEnd) {
    enqueueFolder();
    world.cutListings.insert(subfolder);
    world.settle();
    EXPECT_TRUE(manager.downloads().items().empty());  // the rest could not be had
    world.preferences.setReadLongFolders(false);
    world.enqueueFolder(folder, true);
    world.settle();
    EXPECT_EQ(outcomes(), "completed completed completed ");
    EXPECT_TRUE(world.deletions.empty());
}

TEST_F(Deleting, ignoresAnEmptyFolder) {
    const std::int64_t empty = world.addFolder("empty");
    world.enqueueFolder(empty, true);
    world.settle();
    world.kill();
    world.start();
    world.settle();
    EXPECT_TRUE(world.deletions.empty());
}

TEST_F(Deleting, asksAgainForAFolderWhoseDeletionFailed) {
    enqueueFolder();
    world.refusals[folder] = 1;
    world.settle();
    const std::string failed = "remoteDeleteFailed: HTTP error 500 from put.io. ";
    EXPECT_EQ(outcomes(), failed + failed + failed);
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    manager.retry(member(1));  // arrives again; its folder was settled
    world.settle();
    EXPECT_EQ(outcomes(), failed + "completed " + failed);
    manager.retryDelete(member(1));  // not failed
    manager.retryDelete(member(2));
    EXPECT_EQ(outcomes(), "deleting completed deleting ");
    world.settle();
    EXPECT_EQ(outcomes(), "completed completed completed ");
    EXPECT_EQ(world.deletions, std::vector{folder});
}

TEST_F(Deleting, asksAgainForAFileWhenTheProcessDiedInBetween) {
    const DownloadPointer first = world.enqueue(world.addFile("f", "f"), {.deleteAfterDownload = true});
    world.http.latency = 2s;  // the deletion is saved as under way
    ASSERT_TRUE(world.runUntil(first, Status::deleting));
    world.loop.advance(1s);
    world.kill();
    world.start();
    const DownloadPointer item = world.find(first->fileID);
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: Interrupted before put.io confirmed the deletion.");
    world.manager().retryDelete(item);
    EXPECT_FALSE(item->error);
    world.settle();
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: HTTP error 404 from put.io.");
    EXPECT_EQ(world.tree(), "f=f");
}

TEST_F(Deleting, leavesAnItemAloneThatIsFetchedAnew) {
    const DownloadPointer item = world.enqueue(world.addFile("f", "some bytes"), {.deleteAfterDownload = true});
    world.link(item->fileID).rate = 10;
    world.http.latency = 2s;
    ASSERT_TRUE(world.runUntil(item, Status::deleting));
    world.loop.advance(20ms);  // put.io is asked
    manager.retry(item);
    world.loop.advance(1970ms);
    EXPECT_EQ(World::outcome(item), "downloading");
    world.loop.advance(25ms);  // the deletion is answered
    EXPECT_EQ(World::outcome(item), "downloading");
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 404 from put.io.");
    EXPECT_EQ(world.tree(), "f=some bytes");
}

TEST_F(Deleting, saysThatNobodyIsSignedIn) {
    const std::int64_t file = world.addFile("f", "f");
    ASSERT_TRUE(world.runUntil(world.enqueue(file, {.deleteAfterDownload = true}), Status::deleting));
    manager.saveNow();
    world.kill();
    DownloadManager bare(world.platform(), world.transfers);
    bare.restoreQueue();
    const DownloadPointer item = bare.downloads().items()[0];
    bare.retryDelete(item);
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: Not signed in to put.io.");
}

}  // namespace
}  // namespace tovri::test
