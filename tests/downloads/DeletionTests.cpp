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
    void TestBody() override {}

    // A folder of three files, one of them in a sub-folder, queued with its deletion.
    void enqueueFolder() {
        folder = world.addFolder("F");
        for (const char* name : {"a", "b"}) members.push_back(world.addFile(name, name, folder));
        subfolder = world.addFolder("G", folder);
        members.push_back(world.addFile("c", "c", subfolder));
        world.enqueueFolder(folder, true);
    }

    ConstDownloadPointer member(std::size_t index) { return world.find(members[index]); }

    // When the deletion begins.
    void spoilOnce(std::function<void()> spoil) {
        world.watch = [this, spoil = std::move(spoil)](DownloadManager&, const QueueChange& change) {
            const bool isDeleting = change.item && change.item->status == Status::deleting;
            if (!isDeleting || std::exchange(isSpoilt_, true)) return;
            spoil();
        };
    }

    [[nodiscard]] std::string outcomes() {
        std::string text;
        for (const FileID id : members) text += World::outcome(world.find(id)) + " ";
        return text;
    }

    World world;
    DownloadManager& manager = world.manager();
    FolderID folder;
    FolderID subfolder;
    std::vector<FileID> members;

private:
    bool isSpoilt_ = false;
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
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
    EXPECT_EQ(deleting, 3U);
}

TEST_F(Deleting, keepsAFolderOfWhichSomethingIsMissing) {
    struct Case {
        const char* what;
        void (*spoil)(World&, const ConstDownloadPointer&);
        const char* outcome;
    };

    const Case cases[] = {
        {"skipped",
         [](World& world, const ConstDownloadPointer&) {
             world.preferences.setConflictBehavior(ConflictBehavior::skip);
             world.files.put(World::downloads / "F/a", "the user's");
         },
         "skipped"},
        {"failed", [](World& world, const ConstDownloadPointer& item) { world.link(item->fileID).status = 410; },
         "failed: HTTP error 410 from put.io."},
        {"cancelled", [](World& world, const ConstDownloadPointer& item) { world.manager().cancel(item); },
         "cancelled"},
        {"removed", [](World& world, const ConstDownloadPointer& item) { world.manager().remove(item); }, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        World other;
        const FolderID id = other.addFolder("F");
        const FileID a = other.addFile("a", "a", id);
        const FileID b = other.addFile("b", "b", id);
        other.enqueueFolder(id, true);
        ASSERT_TRUE(other.loop.runUntil([&] { return other.find(a) != nullptr; }));
        const ConstDownloadPointer item = other.find(a);
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
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
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
    const FolderID empty = world.addFolder("empty");
    world.enqueueFolder(empty, true);
    world.settle();
    world.kill();
    world.start();
    world.settle();
    EXPECT_TRUE(world.deletions.empty());
}

TEST_F(Deleting, asksAgainForAFolderWhoseDeletionFailed) {
    enqueueFolder();
    world.refusals[fileOf(folder)] = 1;
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
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
}

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

// What the folder holds is looked at once more, and what is here after that.
TEST_F(Deleting, keepsAFolderThatHasChangedMeanwhile) {
    struct Case {
        const char* what;
        void (*change)(Deleting&);
        std::string reason;
    };

    const std::string strangers = "The folder holds files that were not downloaded.";
    const Case cases[] = {
        {"a new file", [](Deleting& test) { test.world.addFile("new", "new", test.subfolder); }, strangers},
        {"a file that has changed", [](Deleting& test) { test.world.announceSize(test.members[2], 9); }, strangers},
        {"a file whose content has", [](Deleting& test) { test.world.announceChecksum(test.members[2], "1"); }, ""},
        {"a listing that is cut", [](Deleting& test) { test.world.cutListings.insert(test.subfolder); },
         strangers + " put.io listed only the beginning of a folder. HTTP error 400 from put.io."},
        {"two files that are gone here",
         [](Deleting& test) {
             for (const char* name : {"a", "G/c"})
                 EXPECT_TRUE(test.world.files.removeItem(World::downloads / "F" / name));
         },
         "\"/home/user/Downloads/F/G/c\" is not there any more. \"/home/user/Downloads/F/a\" is not there any more. "
         "Nothing was deleted from put.io."},
        {"both",
         [](Deleting& test) {
             EXPECT_TRUE(test.world.files.removeItem(World::downloads / "F/b"));
             test.world.addFile("new", "new", test.folder);
         },
         "\"/home/user/Downloads/F/b\" is not there any more. Nothing was deleted from put.io. " + strangers},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Deleting other;
        other.spoilOnce([&] { c.change(other); });
        other.enqueueFolder();
        other.world.settle();
        if (c.reason.empty()) {
            EXPECT_EQ(other.world.deletions.size(), 1U);  // no checksum was known to compare it with
            continue;
        }
        std::string failed;
        for (int member = 0; member < 3; ++member) failed.append("remoteDeleteFailed: ").append(c.reason).append(" ");
        EXPECT_EQ(other.outcomes(), failed);
        EXPECT_TRUE(other.world.deletions.empty());
        // Only what was named is agreed to.
        const ConstDownloadPointer item = other.member(2);
        EXPECT_TRUE(item->isUnproven);
        other.world.mayLose = true;
        const std::string before = *item->error;
        other.world.files.put(World::downloads / "F/a", "another");
        other.manager.deleteAnyway(item);
        other.world.settle();
        EXPECT_TRUE(other.world.deletions.empty());
        EXPECT_NE(*item->error, before);
        other.manager.deleteAnyway(item);
        other.world.settle();
        EXPECT_EQ(other.outcomes(), "completed completed completed ");
        EXPECT_EQ(other.world.deletions, std::vector{fileOf(other.folder)});
    }
}

TEST_F(Deleting, looksAtTheFilesAgainAfterTheFolder) {
    enqueueFolder();
    ASSERT_TRUE(world.loop.runUntil([&] { return member(0) != nullptr; }));
    ASSERT_TRUE(world.runUntil(member(0), Status::deleting));
    world.http.latency = 2s;
    world.loop.advance(3s);  // proven; the folder is being listed
    EXPECT_TRUE(world.files.removeItem(World::downloads / "F/a"));
    world.settle();
    EXPECT_THAT(outcomes(), testing::HasSubstr("\"/home/user/Downloads/F/a\" is not there any more."));
    EXPECT_TRUE(world.deletions.empty());
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

TEST_F(Deleting, replacesMembersOfAFolderThatStays) {
    world.preferences.setConflictBehavior(ConflictBehavior::replace);
    enqueueFolder();
    ASSERT_TRUE(world.loop.runUntil([&] { return member(0) != nullptr; }));
    world.link(members[0]).status = 410;
    world.settle();
    EXPECT_TRUE(world.deletions.empty());
    world.link(members[0]).status = 200;
    world.enqueueFolder(folder, true);
    world.settle();
    EXPECT_EQ(world.tree(), "F/G/c=c F/a=a F/b=b");
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
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
    DownloadManager bare(world.platform(), world.transfers);
    bare.restoreQueue();
    const ConstDownloadPointer item = bare.downloads().items()[0];
    bare.retryDelete(item);
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: Not signed in to put.io.");
}

}  // namespace
}  // namespace tovri::test
