// What becomes of a file that has arrived and gets no place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/receiving/Receiving.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using testing::IsEmpty;
using testing::SizeIs;
using namespace std::chrono_literals;

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
    world.files.failNext("createPrivateFolder", World::staging, {ErrorCase::file, "The data disk is full."});
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
