// The whole queue waits for a time, with all that it has.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class TimetableHold : public testing::Test {
public:
    // 100 KB in ten seconds.
    ConstDownloadPointer enqueue(const std::string& name) {
        const FileID file = world.addFile(name, std::string(100'000, name.front()));
        world.link(file).rate = 10'000;
        return world.enqueue(file);
    }

    void expectArrived(const ConstDownloadPointer& item) {
        EXPECT_TRUE(world.runUntil(item, Status::completed)) << World::outcome(item);
        EXPECT_EQ(world.files.content(*item->destinationFolder / item->fileName), world.contentOf(item->fileID));
    }

    World world;
    DownloadManager& manager = world.manager();
    const std::string reason = "Held until 18:00";
};

TEST_F(TimetableHold, keepsWhatHasArrivedAndGoesOnFromThere) {
    const ConstDownloadPointer runs = enqueue("a");
    const ConstDownloadPointer paused = enqueue("b");
    world.loop.advance(4s);
    manager.pause(paused);
    world.loop.advance(1s);
    manager.holdAll(reason);
    const ConstDownloadPointer later = enqueue("c");
    world.loop.advance(1h);
    EXPECT_EQ(runs->status, Status::queued);
    EXPECT_TRUE(runs->resumeData);
    EXPECT_GT(runs->bytesDownloaded, 40'000);
    EXPECT_EQ(runs->speed, BytesPerSecond());
    EXPECT_EQ(later->status, Status::queued);
    EXPECT_EQ(paused->status, Status::paused);
    EXPECT_EQ(world.transfersOf(later->fileID), 0U);
    EXPECT_TRUE(manager.canRunNow());  // it needs nothing but time

    manager.holdAll(std::nullopt);
    expectArrived(runs);
    expectArrived(later);
    EXPECT_EQ(world.storage.resumed, 1);
    EXPECT_EQ(world.transfersOf(runs->fileID), 2U);
    EXPECT_EQ(paused->status, Status::paused);
}

// Whatever step of its way an item has come to.
TEST_F(TimetableHold, maySetInAtAnyMoment) {
    for (int moment = 0; moment < 30; ++moment) {
        SCOPED_TRACE(moment);
        World other;
        const FileID file = other.addFile("f", std::string(1000, 'x'));
        const ConstDownloadPointer item = other.enqueue(file);
        other.loop.advance(moment * 10ms);
        other.manager().holdAll(reason);
        other.loop.advance(10s);
        EXPECT_THAT(item->status, testing::AnyOf(Status::queued, Status::completed));
        other.manager().holdAll(std::nullopt);
        EXPECT_TRUE(other.runUntil(item, Status::completed)) << World::outcome(item);
        EXPECT_EQ(other.files.content(World::downloads / "f"), other.contentOf(file));
    }
}

TEST_F(TimetableHold, givesWayToWhatTheUserWants) {
    const ConstDownloadPointer paused = enqueue("a");
    const ConstDownloadPointer cancelled = enqueue("b");
    world.loop.advance(2s);
    manager.holdAll(reason);
    manager.pause(paused);  // while it is still being brought to rest
    manager.cancel(cancelled);
    world.loop.advance(5s);
    EXPECT_EQ(paused->status, Status::paused);
    EXPECT_EQ(cancelled->status, Status::cancelled);
    manager.holdAll(std::nullopt);
    world.loop.advance(30s);
    EXPECT_EQ(paused->status, Status::paused);
    manager.resume(paused);
    expectArrived(paused);
}

TEST_F(TimetableHold, leavesAPausedQueuePaused) {
    const ConstDownloadPointer item = enqueue("a");
    for (const auto looking : {5ms, 3'000ms}) {  // while its link is looked up, or its bytes come
        world.loop.advance(looking);
        manager.holdAll(reason);
        manager.pauseAll();
        world.loop.advance(5s);
        EXPECT_EQ(item->status, Status::paused);
        manager.holdAll(std::nullopt);
        world.loop.advance(5s);
        EXPECT_EQ(item->status, Status::paused);
        manager.resumeAll();
    }
    expectArrived(item);
}

TEST_F(TimetableHold, survivesTheProcess) {
    const ConstDownloadPointer item = enqueue("a");
    world.loop.advance(5s);
    manager.holdAll(reason);
    world.loop.advance(10s);
    world.kill();
    world.start();
    const ConstDownloadPointer again = world.find(item->fileID);
    ASSERT_TRUE(again);
    EXPECT_EQ(world.storage.resumed, 0);
    expectArrived(again);
    EXPECT_EQ(world.storage.resumed, 1);
}

}  // namespace
}  // namespace tovri::test
