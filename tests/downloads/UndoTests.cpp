#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

// A queue out of which the user takes items, and takes that back.
class UndoQueue {
public:
    UndoQueue() {
        world.preferences.setMaxConcurrentDownloads(2);
        world.preferences.setConflictBehavior(ConflictBehavior::ask);
        world.volumes.longestDelay = {};
    }

    // 10,000 bytes in ten seconds.
    ConstDownloadPointer slow(const std::string& name, const DownloadManager::EnqueueOptions& options = {}) {
        const FileID file = world.addFile(name, std::string(10'000, name.front()));
        world.link(file).rate = 1000;
        return world.enqueue(file, options);
    }

    // "a:queued b:cancelled", from the top downwards.
    [[nodiscard]] std::string statuses() {
        std::string text;
        for (const ConstDownloadPointer& item : world.manager().downloads().items())
            text += (text.empty() ? "" : " ") + item->fileName + ":" + std::string(rawValue(item->status));
        return text;
    }

    // A paused, a running, a waiting and an asking one.
    void queueOneOfEachKind() {
        world.files.put(World::downloads / "asks", "old");
        asking = world.enqueue(world.addFile("asks", "new"));
        ASSERT_TRUE(world.runUntil(asking, Status::awaitingConflict));
        paused = slow("paused");
        world.loop.advance(3s);
        manager().pause(paused);
        world.loop.advance(1s);
        running = slow("runs");
        world.loop.advance(4s);
        waiting = slow("waits");
        manager().moveDown(waiting);
        world.loop.advance(100ms);
        ASSERT_EQ(statuses(), ofEachKind);
    }

    [[nodiscard]] DownloadManager& manager() { return world.manager(); }

    static constexpr const char* ofEachKind = "runs:downloading waits:queued paused:paused asks:awaitingConflict";

    World world;
    ConstDownloadPointer asking;
    ConstDownloadPointer paused;
    ConstDownloadPointer running;
    ConstDownloadPointer waiting;
};

struct Undoing : testing::Test, UndoQueue {};

TEST(Undo, givesEachItemItsPlaceItsStateAndItsBytes) {
    struct Case {
        const char* name;
        void (*takeOut)(UndoQueue& test);
        const char* meanwhile;
    };

    const Case cases[] = {
        {"cancelled", [](UndoQueue& test) { test.manager().cancelAll(); },
         "runs:cancelled waits:cancelled paused:cancelled asks:cancelled"},
        {"removed",
         [](UndoQueue& test) { test.manager().remove({test.paused, test.running, test.waiting, test.asking}); }, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        UndoQueue test;
        test.queueOneOfEachKind();
        c.takeOut(test);
        test.world.loop.advance(2s);
        EXPECT_EQ(test.statuses(), c.meanwhile);
        EXPECT_EQ(test.manager().pendingConflict(), nullptr);
        test.manager().takeBack();
        test.world.loop.advance(200ms);
        EXPECT_EQ(test.statuses(), UndoQueue::ofEachKind);
        EXPECT_FALSE(test.manager().canTakeBack());
        ASSERT_NE(test.manager().pendingConflict(), nullptr);
        EXPECT_GT(test.running->bytesDownloaded, 3900);
        test.manager().resolveConflict(ConflictChoice::replace, false);
        test.manager().resume(test.paused);
        test.world.settle();
        EXPECT_EQ(test.statuses(), "runs:completed waits:completed paused:completed asks:completed");
        EXPECT_EQ(test.world.transfersOf(test.asking->fileID), 1U);
        EXPECT_EQ(test.world.tree(), "asks=new paused=" + std::string(10'000, 'p') +
                                         " runs=" + std::string(10'000, 'r') + " waits=" + std::string(10'000, 'w'));
        EXPECT_EQ(test.world.storage.resumed, 2);
    }
}

TEST_F(Undoing, leavesNothingBehindWhenItsTimeIsOver) {
    queueOneOfEachKind();
    manager().cancelAll();
    world.loop.advance(9s);
    EXPECT_TRUE(manager().canTakeBack());
    EXPECT_EQ(world.partialFiles().size(), 2U);
    EXPECT_EQ(world.files.files(World::staging).size(), 1U);
    world.loop.advance(2s);
    EXPECT_FALSE(manager().canTakeBack());
    EXPECT_TRUE(world.partialFiles().empty());
    EXPECT_TRUE(world.files.files(World::staging).empty());
    manager().takeBack();
    EXPECT_EQ(statuses(), "runs:cancelled waits:cancelled paused:cancelled asks:cancelled");
}

// It was saved as cancelled at once.
TEST_F(Undoing, endsWithTheProcessAndWithTheNextCancellation) {
    queueOneOfEachKind();
    manager().cancel(paused);
    manager().cancel(running);
    world.loop.advance(1s);
    EXPECT_EQ(world.partialFiles().size(), 2U);  // of the one that runs now, and of the last one
    manager().takeBack();
    EXPECT_EQ(paused->status, Status::cancelled);
    EXPECT_EQ(running->status, Status::queued);
    manager().cancelAll();
    world.loop.advance(2s);
    world.kill();
    world.start();
    world.settle();
    EXPECT_EQ(statuses(), "runs:cancelled waits:cancelled paused:cancelled asks:cancelled");
    EXPECT_TRUE(world.partialFiles().empty());
    EXPECT_TRUE(world.files.files(World::staging).empty());
}

TEST_F(Undoing, leavesAloneWhatHasGotAnotherFuture) {
    queueOneOfEachKind();
    manager().cancelAll();
    manager().retry(waiting);
    manager().pauseAll();
    world.loop.advance(1s);
    manager().takeBack();
    world.loop.advance(1s);
    EXPECT_EQ(running->status, Status::paused);
    EXPECT_EQ(paused->status, Status::paused);
    EXPECT_NE(waiting->status, Status::cancelled);
    world.settle();
    manager().cancelAll();
    manager().clearFinished();
    manager().takeBack();
    EXPECT_EQ(statuses(), "");
}

// A file of a second, on its way to a disk of its own that stops answering at some moment.
struct Stuck {
    explicit Stuck(bool isTaken) {
        world.files.addVolume(usb);
        world.preferences.setConflictBehavior(ConflictBehavior::ask);
        if (isTaken) world.files.put(usb / "f", "old");
        world.link(file).rate = 1000;
        item = world.enqueue(file, {.destination = DestinationFolder{usb, {}}, .deleteAfterDownload = true});
    }

    [[nodiscard]] std::string lane() { return "volume " + std::to_string(world.files.identity(usb)->volume); }

    World::Path usb = "/media/usb";
    World world;
    FileID file = world.addFile("f", std::string(1000, 'f'));
    ConstDownloadPointer item;
};

void expectArrived(Stuck& stuck) {
    World& world = stuck.world;
    world.settle();
    if (stuck.item->status == Status::awaitingConflict) world.manager().resolveConflict(ConflictChoice::replace, false);
    world.settle();
    EXPECT_EQ(World::outcome(stuck.item), "completed");
    EXPECT_THAT(world.files.files(stuck.usb),
                testing::ElementsAre(testing::Pair(stuck.usb / "f", std::string(1000, 'f'))));
    EXPECT_TRUE(world.partialFiles().empty());
    EXPECT_TRUE(world.files.files(World::staging).empty());
    EXPECT_EQ(world.deletions, std::vector{stuck.file});
}

// Whatever the disk was asked for last, and whether it answers again before or after the item was taken back.
TEST(Undo, givesBackWhatADestinationThatHangsHolds) {
    for (const bool isTaken : {false, true})
        for (const bool isBackFirst : {false, true})
            for (std::chrono::milliseconds moment{}; moment < 1100ms; moment += 13ms) {
                SCOPED_TRACE(testing::Message() << isTaken << isBackFirst << " after " << moment.count() << " ms");
                Stuck stuck(isTaken);
                World& world = stuck.world;
                world.loop.advance(moment);
                world.volumes.hang(stuck.lane());
                world.loop.advance(20ms);
                if (stuck.item->status == Status::completed || stuck.item->status == Status::deleting) continue;
                world.manager().cancel(stuck.item);
                world.loop.advance(1s);
                if (!isBackFirst) world.volumes.goOn(stuck.lane());
                world.loop.advance(1s);
                world.manager().takeBack();
                world.loop.advance(1s);
                world.volumes.goOn(stuck.lane());
                expectArrived(stuck);
            }
}

}  // namespace
}  // namespace tovri::test
