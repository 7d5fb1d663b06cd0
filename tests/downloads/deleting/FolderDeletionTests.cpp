// When a whole folder is deleted from put.io.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class DeletingFolders : public testing::Test {
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

TEST_F(DeletingFolders, deletesAFolderOnceWhenAllOfItHasArrived) {
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

TEST_F(DeletingFolders, keepsAFolderOfWhichSomethingIsMissing) {
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

TEST_F(DeletingFolders, countsAMemberThatArrivedOnItsSecondTry) {
    enqueueFolder();
    ASSERT_TRUE(world.loop.runUntil([&] { return member(0) != nullptr; }));
    world.link(members[0]).breaks = {{.at = 0, .isResumable = false, .fault = TransportFault::none}};
    ASSERT_TRUE(world.runUntil(member(0), Status::failed));
    manager.retry(member(0));  // before the others have arrived
    world.settle();
    EXPECT_EQ(outcomes(), "completed completed completed ");
    EXPECT_EQ(world.deletions, std::vector{fileOf(folder)});
}

TEST_F(DeletingFolders, keepsAFolderThatWasNotListedToItsEnd) {
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

TEST_F(DeletingFolders, ignoresAnEmptyFolder) {
    const FolderID empty = world.addFolder("empty");
    world.enqueueFolder(empty, true);
    world.settle();
    world.kill();
    world.start();
    world.settle();
    EXPECT_TRUE(world.deletions.empty());
}

TEST_F(DeletingFolders, asksAgainForAFolderWhoseDeletionFailed) {
    enqueueFolder();
    world.refusals[fileOf(folder)] = 1;
    world.settle();
    const std::string failed = "remoteDeleteFailed: HTTP error 400 from put.io. ";
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

// What the folder holds is looked at once more, and what is here after that.
TEST_F(DeletingFolders, keepsAFolderThatHasChangedMeanwhile) {
    struct Case {
        const char* what;
        void (*change)(DeletingFolders&);
        std::string reason;
    };

    const std::string strangers = "The folder holds files that were not downloaded.";
    const Case cases[] = {
        {"a new file", [](DeletingFolders& test) { test.world.addFile("new", "new", test.subfolder); }, strangers},
        {"a file that has changed", [](DeletingFolders& test) { test.world.announceSize(test.members[2], 9); },
         strangers},
        {"a file whose content has", [](DeletingFolders& test) { test.world.announceChecksum(test.members[2], "1"); },
         ""},
        {"a listing that is cut", [](DeletingFolders& test) { test.world.cutListings.insert(test.subfolder); },
         strangers + " put.io listed only the beginning of a folder. HTTP error 400 from put.io."},
        {"a listing that passes over what is there",
         [](DeletingFolders& test) {
             test.world.interferes = [of = "parent_id=" + test.subfolder.text()](const HTTPRequest& request) {
                 using Instead = std::optional<Result<HTTPResponse>>;
                 return request.url.ends_with(of) ? Instead(HTTPResponse{200, R"({"files":[],"status":"OK"})"})
                                                  : std::nullopt;
             };
         },
         "put.io does not list all files that it has in the folder: it may hold some that were not downloaded."},
        {"two files that are gone here",
         [](DeletingFolders& test) {
             for (const char* name : {"a", "G/c"})
                 EXPECT_TRUE(test.world.files.removeItem(World::downloads / "F" / name));
         },
         "\"/home/user/Downloads/F/G/c\" is not there any more. \"/home/user/Downloads/F/a\" is not there any more. "
         "Nothing was deleted from put.io."},
        {"both",
         [](DeletingFolders& test) {
             EXPECT_TRUE(test.world.files.removeItem(World::downloads / "F/b"));
             test.world.addFile("new", "new", test.folder);
         },
         "\"/home/user/Downloads/F/b\" is not there any more. Nothing was deleted from put.io. " + strangers},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        DeletingFolders other;
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

TEST_F(DeletingFolders, looksAtTheFilesAgainAfterTheFolder) {
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

TEST_F(DeletingFolders, replacesMembersOfAFolderThatStays) {
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

}  // namespace
}  // namespace tovri::test
