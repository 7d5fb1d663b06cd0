// What the user's controls do to what runs.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/SlowFiles.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

class Controls : public SlowFiles {};

TEST_F(Controls, goesOnAtTheSameByteAfterAPause) {
    const ConstDownloadPointer item = running("movie");
    manager.pause(item);
    manager.pause(item);
    world.loop.advance(10ms);
    EXPECT_EQ(World::outcome(item), "paused");
    EXPECT_EQ(item->speed, BytesPerSecond());
    const ByteCount received = item->bytesDownloaded;
    world.loop.advance(1min);
    manager.resume(item);
    world.loop.advance(200ms);
    EXPECT_GT(item->bytesDownloaded, received);
    EXPECT_LT(item->bytesDownloaded, received + 100);
    expectArrived(item);
    EXPECT_EQ(world.storage.resumed, 1);
}

// The run that is being paused has not ended yet.
TEST_F(Controls, resumesForAnObserverOfThePause) {
    const ConstDownloadPointer item = running("movie");
    const Subscription resuming = manager.onChange([&](const QueueChange&) {
        if (item->status == Status::paused) manager.resume(item);
    });
    manager.pause(item);
    expectArrived(item);
    EXPECT_EQ(world.storage.resumed, 1);
}

TEST_F(Controls, startsOverWhenAResumedTransferFails) {
    const ConstDownloadPointer item = running("movie");
    world.link(item->fileID).refusedResumes = 1;
    manager.pauseAll();
    world.loop.runUntilIdle();
    manager.resumeAll();
    world.loop.advance(20ms);
    EXPECT_THAT(world.log.lines, testing::ElementsAre("[DownloadManager] Resume failed for movie, restarting: The "
                                                      "server did not go on where the transfer had stopped; the "
                                                      "download starts over."));
    EXPECT_EQ(item->progress, 0);
    expectArrived(item);
}

TEST_F(Controls, keepsTheTokenOfABrokenTransferUntilARetry) {
    const FileID file = slowFile("movie");
    world.link(file).breaks = {{.at = 300, .fault = TransportFault::none}};
    const ConstDownloadPointer item = world.enqueue(file);
    world.settle();
    EXPECT_EQ(World::outcome(item), "failed: The connection broke.");
    EXPECT_TRUE(item->resumeData && item->completedAt);
    EXPECT_EQ(world.partialFiles().size(), 1U);
    const auto startedAt = item->startedAt;
    world.loop.advance(1min);
    manager.retry(item);
    expectArrived(item);
    EXPECT_TRUE(world.files.files(World::partials).empty());
    EXPECT_EQ(item->startedAt, startedAt);
}

// Each control, at each moment of an item's way. Whatever was pending from before must not come back.
TEST_F(Controls, controlsWorkAtAnyMoment) {
    enum class Moment { lookUp, transfer, pausing, placing, conflict, paused };

    struct Case {
        const char* control;
        void (*act)(DownloadManager&, const ConstDownloadPointer&);
        const char* expected;
    };

    const Case cases[] = {
        {"cancel", [](auto& queue, auto& item) { queue.cancel(item); }, "cancelled"},
        {"cancelAll", [](auto& queue, auto&) { queue.cancelAll(); }, "cancelled"},
        {"remove", [](auto& queue, auto& item) { queue.remove(item); }, nullptr},
        {"retry", [](auto& queue, auto& item) { queue.retry(item); }, "completed"},
        {"cancel, retry",
         [](auto& queue, auto& item) {
             queue.cancel(item);
             queue.retry(item);
         },
         "completed"},
        {"retry, cancel, retry",
         [](auto& queue, auto& item) {
             queue.retry(item);
             queue.cancel(item);
             queue.retry(item);
         },
         "completed"},
        {"pause all, resume all",
         [](auto& queue, auto&) {
             queue.pauseAll();
             queue.resumeAll();
         },
         nullptr},
    };
    for (const Moment moment :
         {Moment::lookUp, Moment::transfer, Moment::pausing, Moment::placing, Moment::conflict, Moment::paused}) {
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.control) + " at moment " + std::to_string(static_cast<int>(moment)));
            World other;
            DownloadManager& queue = other.manager();
            const FileID file = other.addFile("f", "some bytes");
            other.link(file).rate = 10;
            if (moment == Moment::conflict) {
                other.preferences.setConflictBehavior(ConflictBehavior::ask);
                other.files.put(World::downloads / "f", "the user's");
            }
            const ConstDownloadPointer item = other.enqueue(file);
            if (moment == Moment::lookUp) other.loop.advance(10ms);
            if (moment == Moment::transfer || moment == Moment::pausing || moment == Moment::paused)
                other.loop.advance(500ms);
            if (moment == Moment::pausing || moment == Moment::paused) queue.pause(item);
            if (moment == Moment::paused) other.loop.advance(10ms);
            if (moment == Moment::placing) {
                ASSERT_TRUE(other.loop.runUntil([&] { return item->bytesDownloaded == 10; }));
                other.volumes.longestDelay = 1s;
            }
            if (moment == Moment::conflict) ASSERT_TRUE(other.runUntil(item, Status::awaitingConflict));
            c.act(queue, item);
            other.settle();
            queue.resolveConflict(ConflictChoice::keepBoth, false);
            other.settle();
            queue.resumeAll();
            other.settle();

            const bool isGone = c.expected && c.expected != std::string("completed");
            const bool isRemoved = c.control == std::string("remove");
            const std::string own = moment == Moment::conflict ? "f (1)" : "f";
            EXPECT_EQ(other.files.content(World::downloads / own).has_value(), !isGone && !isRemoved);
            EXPECT_EQ(other.files.files(World::downloads).size(),
                      (moment == Moment::conflict ? 1U : 0U) + (isGone || isRemoved ? 0U : 1U))
                << other.tree();
            if (!isRemoved) EXPECT_EQ(World::outcome(item), c.expected ? c.expected : "completed");
            EXPECT_TRUE(other.files.files(World::staging).empty());
            EXPECT_EQ(other.files.files(World::partials).size(), item->resumeData ? 1U : 0U);
            EXPECT_FALSE(item->stagedURL);
            EXPECT_FALSE(isGone && item->resumeData);
            EXPECT_EQ(other.storage.running, 0);
        }
    }
}

TEST_F(Controls, losesNothingOfWhatIsAskedForWhileItPauses) {
    world.volumes.longestDelay = 200ms;
    const auto pausing = [this](const std::string& name) {
        const ConstDownloadPointer item = running(name);
        world.loop.advance(500ms);
        manager.pause(item);
        return item;
    };

    const ConstDownloadPointer twice = pausing("twice");
    manager.pause(twice);
    world.loop.advance(1s);
    EXPECT_EQ(World::outcome(twice), "paused");
    EXPECT_TRUE(twice->resumeData);

    const ConstDownloadPointer resumed = pausing("resumed");
    manager.resumeAll();
    world.loop.advance(2s);
    EXPECT_EQ(World::outcome(resumed), "downloading");
    EXPECT_EQ(world.storage.resumed, 2);

    manager.pause(resumed);
    bool isDone = false;
    manager.suspend([&] { isDone = true; });
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 1s));
    EXPECT_EQ(World::outcome(resumed), "paused");
    EXPECT_TRUE(resumed->resumeData);
}

TEST_F(Controls, givesUpTheStartWhoseLinkComesTooLate) {
    const ConstDownloadPointer item = world.enqueue(slowFile("movie"));
    manager.pause(item);  // no transfer yet: nothing happens
    EXPECT_EQ(World::outcome(item), "downloading");
    manager.pauseAll();
    world.settle();
    EXPECT_EQ(World::outcome(item), "paused");
    EXPECT_TRUE(world.storage.started.empty());
    manager.resume(item);  // the queue is still paused
    world.settle();
    EXPECT_EQ(World::outcome(item), "queued");
    manager.resumeAll();
    expectArrived(item);
}

TEST_F(Controls, suspendsWithTokensAndGoesOnInTheNextProcess) {
    world.preferences.setMaxConcurrentDownloads(3);
    const ConstDownloadPointer paused = running("paused");
    manager.pause(paused);
    const ConstDownloadPointer active = running("active");
    world.preferences.setConflictBehavior(ConflictBehavior::ask);  // nobody answers any more
    world.files.put(World::downloads / "placing", "the user's");
    const ConstDownloadPointer placing = world.enqueue(world.addFile("placing", "p"));
    world.loop.advance(100ms);
    const ConstDownloadPointer lookUp = world.enqueue(slowFile("lookUp"));
    bool isDone = false;
    manager.suspend([&] { isDone = true; });
    world.enqueue(slowFile("later"));
    ASSERT_TRUE(world.loop.runUntil([&] { return isDone; }, 2s));
    manager.saveNow();
    EXPECT_EQ(statuses(), "later:queued lookUp:downloading placing:awaitingConflict active:downloading paused:paused ");
    EXPECT_TRUE(active->resumeData);
    const ByteCount received = active->bytesDownloaded;
    world.kill();
    world.start();
    EXPECT_EQ(world.find(active->fileID)->bytesDownloaded, received);
    world.settle();
    world.manager().resolveConflict(ConflictChoice::keepBoth, false);
    world.settle();
    for (const ConstDownloadPointer& item : world.manager().downloads().items())
        EXPECT_EQ(World::outcome(item), item->fileName == "paused" ? "paused" : "completed");
    EXPECT_EQ(world.storage.resumed, 1);
}

}  // namespace
}  // namespace tovri::test
