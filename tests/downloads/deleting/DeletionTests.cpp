// What is deleted from put.io, and when.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Deleting : public testing::Test {
public:
    World world;
    DownloadManager& manager = world.manager();
};

// A deletion whose answer nobody heard was done when put.io says so to the same account.
TEST_F(Deleting, findsOutWhatBecameOfADeletionWhenTheProcessDiedInBetween) {
    for (const char* account : {"ann", "bob"}) {
        World other;
        const ConstDownloadPointer first = other.enqueue(other.addFile("f", "f"), {.deleteAfterDownload = true});
        ASSERT_TRUE(other.runUntil(first, Status::deleting));
        other.http.latency = 2s;  // the deletion is saved as under way
        ASSERT_TRUE(other.loop.runUntil([&] { return !other.deletions.empty(); }));
        other.loop.advance(1s);
        other.kill();
        other.start();
        other.account = account;
        const ConstDownloadPointer item = other.find(first->fileID);
        EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: Interrupted before put.io confirmed the deletion.");
        other.manager().retryDelete(item);
        EXPECT_FALSE(item->error);
        other.settle();
        EXPECT_EQ(World::outcome(item), account == std::string(World::owner)
                                            ? "completed"
                                            : "remoteDeleteFailed: It is in the account of ann, and bob is signed in. "
                                              "Nothing was deleted from put.io.");
        EXPECT_EQ(other.tree(), "f=f");
        EXPECT_EQ(other.deletions.size(), 1U);
    }
}

TEST_F(Deleting, takesOnlyAnAnswerThatConfirms) {
    world.losesAnswer = true;
    const ConstDownloadPointer lost = world.enqueue(world.addFile("lost", "lost"), {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(World::outcome(lost), "completed");  // it was looked up
    world.doesNotConfirm = true;
    const ConstDownloadPointer refused = world.enqueue(world.addFile("f", "f"), {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(World::outcome(refused), "remoteDeleteFailed: put.io did not confirm the deletion.");
    world.doesNotConfirm = false;
    manager.retryDelete(refused);
    world.settle();
    EXPECT_EQ(World::outcome(refused), "completed");
    EXPECT_EQ(world.deletions.size(), 2U);
}

// Whatever becomes of our copy before put.io's is to go: that stays, and it is said what is wrong with which file.
TEST_F(Deleting, keepsWhatIsNotHereAnyMoreAsItArrived) {
    struct Case {
        const char* what;
        void (*spoil)(World&);
        const char* outcome;
    };

    const Case cases[] = {
        {"gone", [](World& world) { EXPECT_TRUE(world.files.removeItem(World::downloads / "f")); },
         "remoteDeleteFailed: \"/home/user/Downloads/f\" is not there any more. Nothing was deleted from put.io."},
        {"shorter", [](World& world) { world.files.put(World::downloads / "f", "byte"); },
         "remoteDeleteFailed: \"/home/user/Downloads/f\" has changed since it arrived. Nothing was deleted from "
         "put.io."},
        {"as long, but another", [](World& world) { world.files.put(World::downloads / "f", "BYTES"); },
         "remoteDeleteFailed: \"/home/user/Downloads/f\" has changed since it arrived. Nothing was deleted from "
         "put.io."},
        {"another with the same bytes", [](World& world) { world.files.put(World::downloads / "f", "bytes"); },
         "completed"},
        {"not durable",
         [](World& world) {
             world.files.failNext("makeDurable", World::downloads / "f", {ErrorCase::file, "The disk is broken."});
         },
         "remoteDeleteFailed: The disk is broken. Nothing was deleted from put.io."},
        {"a folder above it not durable",
         [](World& world) {
             world.files.failNext("makeFolderDurable", World::downloads, {ErrorCase::file, "The disk is broken."});
         },
         "remoteDeleteFailed: The disk is broken."},
    };
    for (const Case& c : cases) {
        for (const bool isRestarted : {false, true}) {
            SCOPED_TRACE(std::string(c.what) + (isRestarted ? ", after a restart" : ""));
            World other;
            const FileID file = other.addFile("f", "bytes");
            bool isToBeSpoilt = !isRestarted;
            other.watch = [&](DownloadManager&, const QueueChange& change) {
                const bool isDeleting = change.item && change.item->status == Status::deleting;
                if (isDeleting && std::exchange(isToBeSpoilt, false)) c.spoil(other);
            };
            other.doesNotConfirm = isRestarted;
            other.enqueue(file, {.deleteAfterDownload = true});
            other.settle();
            if (isRestarted) {
                other.kill();
                other.doesNotConfirm = false;
                isToBeSpoilt = true;
                other.start();
                other.manager().retryDelete(other.find(file));
                other.settle();
            }
            EXPECT_EQ(World::outcome(other.find(file)), c.outcome);
            EXPECT_EQ(other.deletions.size(), std::string(c.outcome) == "completed" ? 1U : 0U);
        }
    }
}

TEST_F(Deleting, keepsWhatALossOfPowerWouldMakeTheQueueForget) {
    const World::Path journal = World::data / "placements.journal";
    const Error full{ErrorCase::file, "The disk is full."};
    world.files.failNext("appendToFile", journal, full);
    world.files.failNext("writeFileAtomically", journal, full, 2);
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", "f"), {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: The disk is full.");
    EXPECT_TRUE(world.deletions.empty());
    manager.retryDelete(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
}

TEST_F(Deleting, keepsWhatItDoesNotKnowTheSizeOf) {
    const FileID unknown = world.addFile("unknown", "bytes");
    const FileID empty = world.addFile("empty", "");
    const FileID trulyEmpty = world.addFile("truly empty", "");
    world.sizeless = {unknown, empty};
    for (const FileID file : {unknown, empty, trulyEmpty}) world.enqueue(file, {.deleteAfterDownload = true});
    world.settle();
    for (const FileID file : {unknown, empty})
        EXPECT_THAT(World::outcome(world.find(file)),
                    testing::StartsWith("remoteDeleteFailed: put.io did not say how large"));
    EXPECT_EQ(World::outcome(world.find(trulyEmpty)), "completed");
    EXPECT_EQ(world.deletions, std::vector{trulyEmpty});
}

// --- What is the only copy ---

// Two files of one name end side by side, whatever the policy says.
TEST_F(Deleting, replacesNoFileWhoseOriginalGoes) {
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    world.files.put(World::downloads / "f", "the user's");
    for (const char* content : {"1", "2"}) world.enqueue(world.addFile("f", content), {.deleteAfterDownload = true});
    world.settle();
    EXPECT_EQ(world.deletions.size(), 2U);
    EXPECT_TRUE(world.tree() == "f=1 f (1)=2" || world.tree() == "f=2 f (1)=1") << world.tree();
    // The list is not what remembers it.
    manager.clearFinished();
    world.settle();
    world.kill();
    world.start();
    world.enqueue(world.addFile("f", "3"));
    world.settle();
    EXPECT_THAT(world.tree(), testing::HasSubstr("f (2)=3"));
    // A file that nobody needs any more is replaced as before.
    EXPECT_TRUE(world.files.removeItem(World::downloads / "f"));
    world.enqueue(world.addFile("f", "4"));
    world.settle();
    world.enqueue(world.addFile("f", "5"));
    world.settle();
    EXPECT_THAT(world.tree(), testing::StartsWith("f=5 "));
}

TEST_F(Deleting, tellsTheUserThatTheOriginalIsGone) {
    world.enqueue(world.addFile("f", "1"), {.deleteAfterDownload = true});
    world.settle();
    world.files.put(World::downloads / "g", "the user's");
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    world.preferences.setMaxConcurrentDownloads(2);
    world.volumes.longestDelay = {};
    world.enqueue(world.addFile("g", "2"));
    const ConstDownloadPointer last = world.enqueue(world.addFile("f", "2"));
    ASSERT_TRUE(world.loop.runUntil([&] { return manager.activeCount() == 2 && manager.pendingConflict(); }));
    world.settle();
    while (manager.pendingConflict()) {
        const FileConflict& conflict = *manager.pendingConflict();
        EXPECT_EQ(conflict.isOnlyCopy, conflict.download == last);
        manager.resolveConflict(ConflictChoice::replace, true);  // covers nothing that is the only copy
        world.settle();
    }
    EXPECT_EQ(world.tree(), "f=2 g=2");
}

TEST_F(Deleting, leavesAnItemAloneThatIsFetchedAnew) {
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", "some bytes"), {.deleteAfterDownload = true});
    world.link(item->fileID).rate = 10;
    ASSERT_TRUE(world.runUntil(item, Status::deleting));
    world.http.latency = 2s;
    ASSERT_TRUE(world.loop.runUntil([&] { return !world.deletions.empty(); }));
    manager.retry(item);
    world.loop.advance(1990ms);
    EXPECT_EQ(World::outcome(item), "downloading");
    world.loop.advance(20ms);  // the deletion is answered
    EXPECT_NE(World::outcome(item), "completed");
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 404 from put.io.");
    EXPECT_EQ(world.tree(), "f=some bytes");
}

TEST_F(Deleting, saysThatNobodyIsSignedIn) {
    const FileID file = world.addFile("f", "f");
    ASSERT_TRUE(world.runUntil(world.enqueue(file, {.deleteAfterDownload = true}), Status::deleting));
    manager.saveNow();
    world.kill();
    DownloadManager bare(world.ports());
    bare.restoreQueue();
    const ConstDownloadPointer item = bare.downloads().items()[0];
    bare.retryDelete(item);
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: Not signed in to put.io.");
}

}  // namespace
}  // namespace tovri::test
