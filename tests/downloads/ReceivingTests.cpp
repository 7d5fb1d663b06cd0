// Where bytes gather before their file has its place, and what becomes of a file that gets none.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"
#include "downloads/partials/ResumePoint.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using namespace std::chrono_literals;

class Receiving : public testing::Test {
public:
    using Path = World::Path;

    Receiving() {
        world.files.addVolume(usb);
        world.files.put(usb / "Shows/already there", "x");
    }

    ConstDownloadPointer enqueueTo(const Path& folder, const std::string& name, std::string content) {
        return world.enqueue(world.addFile(name, std::move(content)), {.destination = DestinationFolder{folder, {}}});
    }

    // One that takes half a minute.
    ConstDownloadPointer enqueueSlowly(const Path& folder, const std::string& name) {
        const ConstDownloadPointer item = enqueueTo(folder, name, std::string(3000, 'x'));
        world.link(item->fileID).rate = 100;
        return item;
    }

    // Paths of the private folders below the folder.
    [[nodiscard]] std::vector<Path> receivingFolders(const Path& folder) {
        std::vector<Path> found;
        const auto entries = world.files.directoryContents(folder);
        for (const Path& entry : entries.value_or(std::vector<Path>()))
            if (entry.filename().native().starts_with(".tovri-")) found.push_back(entry);
        return found;
    }

    [[nodiscard]] std::string list() { return world.files.content(World::data / "receiving-folders").value_or(""); }

    void restart() {
        world.kill();
        world.settle();
        world.start();
    }

    // Ends the process as a user does who quits.
    void quit() {
        bool isDone = false;
        world.manager().suspend([&] { isDone = true; });
        EXPECT_TRUE(world.loop.runUntil([&] { return isDone; }, 3s));
        EXPECT_TRUE(world.manager().saveNow());
        world.kill();
        world.settle();
    }

    [[nodiscard]] std::string laneOf(const Path& folder) {
        return "volume " + std::to_string(world.files.identity(folder)->volume);
    }

    static inline const Path usb = "/mnt/usb";
    World world;
};

TEST_F(Receiving, writesBytesOnceOnTheDestinationsOwnVolume) {
    world.files.setCapacity("/", 20'000);  // of the data folder's disk: enough for the queue alone
    const ConstDownloadPointer item = enqueueTo(usb / "Shows/new/deep", "film", std::string(30'000, 'x'));
    world.link(item->fileID).rate = 10'000;
    world.loop.advance(1500ms);
    const auto folders = receivingFolders(usb / "Shows");
    ASSERT_THAT(folders, SizeIs(1));
    EXPECT_THAT(world.partialFiles(folders[0]), SizeIs(1));
    EXPECT_THAT(list(), HasSubstr(folders[0].native()));
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.fileSize(usb / "Shows/new/deep/film"), 30'000);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
    restart();
    world.settle();
    EXPECT_EQ(list(), "");
}

TEST_F(Receiving, usesOneFolderForEachVolume) {
    world.files.addVolume("/mnt/other");
    for (const Path& folder : {usb / "Shows", usb / "Films", Path("/mnt/other"), World::downloads})
        enqueueSlowly(folder, "file");
    world.preferences.setMaxConcurrentDownloads(9);
    world.manager().resumeAll();
    world.loop.advance(2s);
    EXPECT_EQ(
        receivingFolders(usb / "Films").size() + receivingFolders(usb / "Shows").size() + receivingFolders(usb).size(),
        1U);
    EXPECT_THAT(receivingFolders("/mnt/other"), SizeIs(1));
    EXPECT_THAT(world.partialFiles(), SizeIs(1));
    world.settle();
    for (const Path& file : {usb / "Shows/file", usb / "Films/file", Path("/mnt/other/file")})
        EXPECT_EQ(world.files.fileSize(file), 3000) << file;
}

TEST_F(Receiving, goesOnInTheFolderWhereItBegan) {
    const FileID file = enqueueSlowly(usb / "Shows", "file")->fileID;
    world.loop.advance(10s);
    quit();
    ASSERT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
    world.start();
    world.settle();
    EXPECT_EQ(world.files.fileSize(usb / "Shows/file"), 3000);
    EXPECT_EQ(world.storage.resumed, 1);
    EXPECT_LT(world.storage.bytesSent, 3100);
    EXPECT_EQ(world.transfersOf(file), 2U);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
}

TEST_F(Receiving, cleansAnAbsentVolumeWhenItIsBack) {
    enqueueSlowly(usb / "Shows", "file");
    world.loop.advance(10s);
    world.manager().pauseAll();
    world.settle();
    ASSERT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
    const Path folder = receivingFolders(usb / "Shows")[0];
    const std::string listed = list();
    world.files.unmount(usb);
    world.manager().remove(world.manager().downloads().items()[0]);
    world.manager().saveNow();
    restart();
    world.settle();
    EXPECT_EQ(list(), listed);
    world.files.mount(usb);
    world.files.put(usb / (".tovri-" + world.random.makeUUID().text()) / "other", "another data folder's");
    EXPECT_THAT(world.partialFiles(folder), SizeIs(1));
    restart();
    world.settle();
    EXPECT_FALSE(world.files.exists(folder));
    EXPECT_THAT(receivingFolders(usb), SizeIs(1));
    restart();
    world.settle();
    EXPECT_EQ(list(), "");  // its line goes at the next start
}

// Also when it was there before, is gone, and is about to be forgotten while it is chosen again.
TEST_F(Receiving, listsAFolderBeforeItIsMade) {
    for (int delay = 0; delay < 40; ++delay) {
        SCOPED_TRACE("chosen again after " + std::to_string(delay) + " ms");
        enqueueTo(usb, "before", "x");
        world.settle();
        restart();
        world.loop.advance(std::chrono::milliseconds(delay));
        enqueueSlowly(usb, "file");
        ASSERT_TRUE(world.loop.runUntil([&] { return !receivingFolders(usb).empty(); }));
        EXPECT_THAT(list(), HasSubstr(receivingFolders(usb)[0].native()));
        world.loop.advance(2s);
        EXPECT_THAT(list(), HasSubstr(receivingFolders(usb)[0].native()));
        restart();
        world.settle();
        EXPECT_THAT(receivingFolders(usb), IsEmpty());
    }
}

TEST_F(Receiving, goesOnWhereTheVolumeIsMountedNow) {
    enqueueSlowly(usb / "Shows", "file");
    const ConstDownloadPointer other = enqueueSlowly(usb / "Shows", "other");
    world.loop.advance(10s);
    quit();
    const Path now = "/media/ann/usb";
    world.files.mountElsewhere(usb, now);
    world.preferences.setMaxConcurrentDownloads(1);
    world.start();
    ASSERT_THAT(receivingFolders(now / "Shows"), SizeIs(1));
    world.manager().remove(world.find(other->fileID));
    const ConstDownloadPointer item = world.manager().downloads().items().front();
    world.loop.advance(11s);
    EXPECT_THAT(world.partialFiles(receivingFolders(now / "Shows").at(0)), SizeIs(1));
    // Its name is remembered, not where it is for the time being.
    quit();
    world.files.mountElsewhere(now, usb);
    world.start();
    world.settle();
    EXPECT_EQ(world.files.fileSize(*world.find(item->fileID)->resolvedURL), 3000);
    EXPECT_EQ(world.storage.resumed, 2);
    EXPECT_LT(world.storage.bytesSent, 3100 + 1100);
    EXPECT_THAT(receivingFolders(usb / "Shows"), IsEmpty());
}

TEST_F(Receiving, aCopyOfTheDataFolderLeavesTheOriginalsFoldersAlone) {
    enqueueSlowly(usb / "Shows", "file");
    world.loop.advance(10s);
    quit();
    const Path original = receivingFolders(usb / "Shows").at(0);
    const Path identifierFile = World::data / "data-folder.id";
    std::string identifier = *world.files.content(identifierFile);
    identifier.insert(identifier.size() - 1, "9");  // another folder's number
    world.files.put(identifierFile, identifier);
    world.start();
    world.loop.advance(1s);
    EXPECT_THAT(world.partialFiles(original), SizeIs(1));
    EXPECT_THAT(list(), testing::Not(HasSubstr(original.native())));
    world.settle();
    restart();
    world.settle();
    EXPECT_EQ(world.files.fileSize(usb / "Shows/file"), 3000);
    EXPECT_THAT(world.partialFiles(original), SizeIs(1));
    EXPECT_THAT(receivingFolders(usb / "Shows"), SizeIs(1));
}

TEST_F(Receiving, goesOnInNoFolderThatItDoesNotKnow) {
    const UUID name = world.random.makeUUID();
    const Path secret = "/home/user/Documents" / Path(name.text());
    world.files.put(secret, "somebody's own bytes");
    const ConstDownloadPointer item = enqueueSlowly(World::downloads, "file");
    ASSERT_TRUE(world.runUntil(item, Status::downloading));
    world.loop.advance(1s);
    world.manager().pause(item);
    world.settle();
    ResumePoint point = *ResumePoint::parse(*item->resumeData);
    point.partial = name;
    point.offset = 5;
    point.folder = secret.parent_path();
    changeable(item).resumeData = point.encoded();
    world.manager().resume(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.files.content(secret), "somebody's own bytes");
    EXPECT_EQ(world.files.fileSize(World::downloads / "file"), 3000);
}

// --- Files that cannot be placed ---

class Keeping : public Receiving {
public:
    Keeping() { world.preferences.setConflictBehavior(ConflictBehavior::ask); }

    // A file that has arrived and cannot be placed.
    ConstDownloadPointer unplaced(const std::string& name) {
        world.files.failNext("moveItem", World::downloads / name, {ErrorCase::file, "The disk is broken."});
        const ConstDownloadPointer item = enqueueTo(World::downloads, name, "content of " + name);
        world.settle();
        EXPECT_EQ(World::outcome(item), "failed: The disk is broken.");
        EXPECT_FALSE(item->resumeData || item->stagedURL || item->resolvedURL);
        EXPECT_TRUE(item->completedAt);
        EXPECT_THAT(world.files.files(World::partials), SizeIs(1));
        return item;
    }

    void expectPlaced(const ConstDownloadPointer& item) {
        EXPECT_EQ(World::outcome(item), "completed");
        EXPECT_EQ(world.files.content(World::downloads / item->fileName), world.contentOf(item->fileID));
        EXPECT_EQ(world.transfersOf(item->fileID), 1U);
        EXPECT_THAT(world.files.files(World::partials), IsEmpty());
    }
};

TEST_F(Keeping, fetchesNothingAgainForARetry) {
    const ConstDownloadPointer item = unplaced("f");
    for (int i = 0; i < 3; ++i) {
        world.files.failNext("moveItem", World::downloads / "f", {ErrorCase::file, "The disk is broken."});
        world.manager().retry(item);
        EXPECT_EQ(item->progress, 0);
        world.settle();
        EXPECT_EQ(World::outcome(item), "failed: The disk is broken.");
        EXPECT_THAT(world.files.files(World::partials), SizeIs(1));
    }
    world.manager().retry(item);
    world.settle();
    expectPlaced(item);
}

TEST_F(Keeping, findsTheFileInTheNextProcess) {
    const FileID file = unplaced("f")->fileID;
    world.manager().saveNow();
    world.files.put(World::partials / world.random.makeUUID().text(), "nobody's");
    world.losePower();
    world.start();
    world.settle();
    EXPECT_THAT(world.files.files(World::partials), SizeIs(1));
    world.manager().retry(world.find(file));
    world.settle();
    expectPlaced(world.find(file));
}

TEST_F(Keeping, givesTheFileToAnotherItemOfTheSameFile) {
    const ConstDownloadPointer item = unplaced("f");
    world.announceSize(item->fileID, 4);
    world.link(item->fileID).content = "new!";
    const ConstDownloadPointer changed =
        world.enqueue(item->fileID, {.destination = DestinationFolder{"/home/new", {}}});
    world.settle();
    EXPECT_EQ(world.files.content("/home/new/f"), "new!");  // it is not the same any more
    world.announceSize(item->fileID, item->fileSize);
    const ConstDownloadPointer other =
        world.enqueue(item->fileID, {.destination = DestinationFolder{"/home/same", {}}});
    world.settle();
    EXPECT_EQ(world.files.content("/home/same/f"), "content of f");
    EXPECT_EQ(world.transfersOf(item->fileID), 2U);
    EXPECT_THAT(world.files.files(World::partials), IsEmpty());
}

TEST_F(Keeping, keepsOneOfTwo) {
    world.preferences.setMaxConcurrentDownloads(2);
    world.files.failNext("moveItem", {}, {ErrorCase::file, "The disk is broken."}, 2);
    const ConstDownloadPointer first = enqueueTo(World::downloads, "f", "content of f");
    const ConstDownloadPointer second = world.enqueue(first->fileID);
    world.settle();
    EXPECT_EQ(World::outcome(first) + " " + World::outcome(second),
              "failed: The disk is broken. failed: The disk is broken.");
    EXPECT_THAT(world.files.files(World::partials), SizeIs(1));
}

TEST_F(Keeping, removesTheFileWithItsItem) {
    const std::function<void(const ConstDownloadPointer&)> ways[] = {
        [&](const ConstDownloadPointer& item) { world.manager().remove(item); },
        [&](const ConstDownloadPointer& item) { world.manager().cancel(item); },
        [&](const ConstDownloadPointer&) { world.manager().clearFinished(); },
    };
    for (const auto& way : ways) {
        way(unplaced("f"));
        world.settle();
        EXPECT_THAT(world.files.files(World::partials), IsEmpty());
    }
}

TEST_F(Keeping, fetchesAgainWhatWasLostOrChanged) {
    const ConstDownloadPointer lost = unplaced("lost");
    EXPECT_TRUE(world.files.removeItem(world.files.files(World::partials).begin()->first));
    world.manager().retry(lost);
    world.settle();
    EXPECT_EQ(World::outcome(lost), "completed");
    EXPECT_EQ(world.transfersOf(lost->fileID), 2U);
}

// The next start goes on with the placement that a quit, or a kill, found under way.
TEST_F(Keeping, fetchesNothingAgainAfterAQuitDuringThePlacement) {
    for (const bool isKilled : {false, true}) {
        World other;
        const FileID file = other.addFile("f", "content of f");
        ConstDownloadPointer item = other.enqueue(file);
        ASSERT_TRUE(other.loop.runUntil([&] { return item->receivedFile != nullptr; }));
        const std::string lane = "volume " + std::to_string(other.files.identity("/")->volume);
        other.volumes.hang(lane);
        if (isKilled) {
            other.loop.advance(1s);
        } else {
            bool isDone = false;
            other.manager().suspend([&] { isDone = true; });
            EXPECT_TRUE(other.loop.runUntil([&] { return isDone; }, 3s));
            other.manager().saveNow();
        }
        item.reset();
        other.kill();
        other.volumes.goOn(lane);
        other.settle();
        ASSERT_FALSE(other.files.exists(World::downloads / "f"));
        other.start();
        other.settle();
        EXPECT_EQ(other.files.content(World::downloads / "f"), "content of f");
        EXPECT_EQ(other.transfersOf(file), 1U);
        EXPECT_THAT(other.files.files(World::partials), IsEmpty());
    }
}

// Its bytes need not have reached the disk with their length.
TEST_F(Keeping, placesNothingThatAPowerLossHasDamaged) {
    const ConstDownloadPointer item = enqueueTo(World::downloads, "f", "content of f");
    ASSERT_TRUE(world.loop.runUntil([&] { return item->receivedFile != nullptr; }));
    const std::string lane = laneOf("/");
    world.volumes.hang(lane);
    world.loop.advance(1s);
    world.kill();
    world.volumes.goOn(lane);
    const Path partial = world.files.files(World::partials).begin()->first;
    world.files.put(partial, std::string(12, '\0'));
    world.start();
    world.settle();
    EXPECT_EQ(world.files.content(World::downloads / "f"), "content of f");
}

TEST_F(Keeping, keepsTheFileWhenItCannotBeStaged) {
    world.files.put(World::downloads / "f", "old");
    world.files.failNext("createDirectories", World::staging, {ErrorCase::file, "The data disk is full."});
    const ConstDownloadPointer item = enqueueTo(World::downloads, "f", "content of f");
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: \"f\" cannot be set aside until you decide: The data disk is full.");
    EXPECT_TRUE(world.files.removeItem(World::staging));
    world.manager().retry(item);
    world.settle();
    EXPECT_EQ(World::outcome(item), "awaitingConflict");
    EXPECT_THAT(world.files.files(World::staging), SizeIs(1));
    world.files.failNext("moveItem", World::downloads / "f (1)", {ErrorCase::file, "The disk is broken."});
    world.manager().resolveConflict(ConflictChoice::keepBoth, false);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: The disk is broken.");
    EXPECT_FALSE(item->stagedURL);
    EXPECT_THAT(world.files.files(World::staging), IsEmpty());
    EXPECT_TRUE(world.files.removeItem(World::downloads / "f"));
    world.manager().retry(item);
    world.settle();
    expectPlaced(item);
}

TEST_F(Keeping, resolvesConflictsThatOneAnswerCoversInTheirOrder) {
    world.preferences.setMaxConcurrentDownloads(9);
    world.volumes.longestDelay = {};
    world.files.put(usb / "f", "old");
    for (const char* content : {"first", "second", "third", "fourth"}) {
        const ConstDownloadPointer item = enqueueTo(usb, "f", content);
        ASSERT_TRUE(world.runUntil(item, Status::awaitingConflict));
    }
    world.volumes.longestDelay = 50ms;
    world.manager().resolveConflict(ConflictChoice::keepBoth, true);
    world.settle();
    EXPECT_EQ(world.files.files(usb), (std::map<Path, std::string>{{usb / "Shows/already there", "x"},
                                                                   {usb / "f", "old"},
                                                                   {usb / "f (1)", "first"},
                                                                   {usb / "f (2)", "second"},
                                                                   {usb / "f (3)", "third"},
                                                                   {usb / "f (4)", "fourth"}}));
}

TEST_F(Keeping, showsNoSpeedWhileAFileIsPlaced) {
    const ConstDownloadPointer item = enqueueSlowly(usb, "f");
    ASSERT_TRUE(world.loop.runUntil([&] { return item->speed > BytesPerSecond(); }));
    std::optional<BytesPerSecond> told;
    world.watch = [&](DownloadManager&, const QueueChange& change) {
        if (change.item == item && item->receivedFile) told = item->speed;
    };
    ASSERT_TRUE(world.loop.runUntil([&] { return item->receivedFile != nullptr; }));
    world.volumes.hang(laneOf(usb));
    world.loop.advance(1s);
    EXPECT_EQ(told, BytesPerSecond());
}

}  // namespace
}  // namespace tovri::test
