// How long an item waits for put.io, what it says meanwhile, and who ends that.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/receiving/RidingOut.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

TEST_F(RidingOut, waitsAsLongAsTheServerSays) {
    struct Case {
        RetryHints hints;
        MainLoop::Duration wait;
    };

    const Case cases[] = {
        {{"1800", "", ""}, 1800s},
        {{"Sun, 06 Nov 1994 08:59:37 GMT", "Sun, 06 Nov 1994 08:49:37 GMT", ""}, 600s},
        {{"", "", "240"}, 240s},
        {{"86400", "", ""}, 3600s},
    };
    for (const Case& c : cases) {
        Fresh test;
        const ConstDownloadPointer item = test.world.enqueue(test.addFile("f"));
        test.storageRefuses(429, 1, c.hints);
        test.world.loop.advance(c.wait - 1s);
        EXPECT_EQ(test.world.storage.started.size(), 1U);
        test.world.loop.advance(2s);
        EXPECT_EQ(test.world.storage.started.size(), 2U);
        test.settle();
        test.expectArrived(item);
    }
}

TEST_F(RidingOut, saysWhatItWaitsForAndUntilWhen) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    world.link(item->fileID).breaks = {{.at = 20'000}};
    storageRefuses(503, 1, {"12", "", ""});
    ASSERT_TRUE(world.loop.runUntil([&] { return item->hold != nullptr; }));
    EXPECT_EQ(World::outcome(item), "downloading");
    EXPECT_EQ(item->hold->textAt(world.clock.now()), "Waiting for put.io: HTTP error 503, again in 12s");
    world.loop.advance(3s);
    EXPECT_EQ(item->hold->textAt(world.clock.now()), "Waiting for put.io: HTTP error 503, again in 9s");
    world.loop.advance(10s);
    EXPECT_FALSE(item->hold);
    ASSERT_TRUE(world.loop.runUntil([&] { return item->hold != nullptr; }));
    EXPECT_THAT(item->hold->textAt(world.clock.now()),
                testing::MatchesRegex("Waiting for put.io: the connection broke, again in [12]s"));
    EXPECT_EQ(item->speed, BytesPerSecond());
    settle();
    expectArrived(item);
}

TEST_F(RidingOut, failsWithTheLastReasonAndItsTokenWhenPatienceIsUsedUp) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    const ConstDownloadPointer lookUp = world.enqueue(addFile("g"));
    world.interferes = [&](const HTTPRequest& request) -> std::optional<Result<HTTPResponse>> {
        if (!request.url.contains("/" + lookUp->fileID.text() + "/")) return std::nullopt;
        return HTTPResponse{500, ""};
    };
    world.link(item->fileID).breaks = {{.at = 20'000, .times = 1000}};
    world.loop.advance(9min);
    EXPECT_FALSE(isFinished(item->status)) << World::outcome(item);
    EXPECT_FALSE(isFinished(lookUp->status)) << World::outcome(lookUp);
    settle();
    EXPECT_EQ(World::outcome(item), "failed: The connection broke.");
    EXPECT_EQ(World::outcome(lookUp), "failed: HTTP error 500 from put.io.");
    EXPECT_TRUE(item->resumeData);
    EXPECT_EQ(item->bytesDownloaded, 20'000);
    EXPECT_EQ(world.partialFiles().size(), 1U);
    EXPECT_TRUE(world.log.lines.empty()) << world.log.lines.front();  // that no resume has failed
    EXPECT_LE(world.storage.bytesSent, 20'000);
}

// The same for a transfer that goes on from a token: nothing starts over.
TEST_F(RidingOut, keepsTheTokenOfAResumedTransferWhenPatienceIsUsedUp) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    world.loop.advance(3s);
    manager.pause(item);
    world.loop.advance(1s);
    world.preferences.setPatienceMinutes(1);
    storageRefuses(500, 1000);
    manager.resume(item);
    settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 500 from put.io.");
    EXPECT_TRUE(item->resumeData);
    EXPECT_TRUE(world.log.lines.empty());
}

TEST_F(RidingOut, givesItsSlotToTheNextAfterAMinuteAndGoesOnAtTheSameByte) {
    world.preferences.setMaxConcurrentDownloads(1);
    const ConstDownloadPointer next = world.enqueue(addFile("next"));
    manager.pause(next);
    const ConstDownloadPointer item = world.enqueue(addFile("item"));
    world.loop.advance(2s);
    manager.pauseAll();
    world.loop.advance(1s);
    manager.resumeAll();
    const auto broken = item->status == Status::downloading ? item : next;
    const auto other = broken == item ? next : item;
    world.link(broken->fileID).breaks = {{.at = 50'000, .times = 8}};
    ASSERT_TRUE(world.loop.runUntil([&] { return broken->status == Status::queued; }, 3min));
    EXPECT_TRUE(broken->resumeData);
    EXPECT_THAT(broken->hold->textAt(world.clock.now()),
                testing::StartsWith("Waiting for put.io: the connection broke"));
    EXPECT_EQ(World::outcome(other), "downloading");
    settle();
    expectAllArrived();
    EXPECT_LE(world.storage.bytesSent, allBytes * 101 / 100);
}

// From the first failed try on the user and the end of the program have a handle.
TEST_F(RidingOut, whatIsWaitedForEndsAtOnceWhenTheUserWantsSo) {
    enum class Moment { lookUp, transfer, held };

    for (const Moment moment : {Moment::lookUp, Moment::transfer, Moment::held}) {
        for (const char* const control : {"pause", "cancel", "remove", "retry", "pauseAll", "suspend"}) {
            SCOPED_TRACE(std::string(control) + " at " + std::to_string(static_cast<int>(moment)));
            Fresh test;
            World& other = test.world;
            const FileID file = test.addFile("f");
            other.link(file).breaks = {{.at = 50'000}};
            const ConstDownloadPointer item = other.enqueue(file);
            if (moment != Moment::lookUp) other.loop.advance(3s);
            test.cutOff(1h);
            other.loop.advance(moment == Moment::held ? 3min : 20s);
            ASSERT_EQ(World::outcome(item), moment == Moment::held ? "queued" : "downloading");
            ASSERT_TRUE(item->hold);
            const int before = test.refused;
            const std::string action = control;
            bool isDone = false;
            if (action == "pause") test.manager.pause(item);
            if (action == "cancel") test.manager.cancel(item);
            if (action == "remove") test.manager.remove(item);
            if (action == "pauseAll") test.manager.pauseAll();
            if (action == "suspend") test.manager.suspend([&] { isDone = true; });
            if (action == "retry") test.manager.retry(item);
            other.loop.advance(100ms);
            EXPECT_EQ(isDone, action == "suspend");
            if (action == "cancel") EXPECT_EQ(World::outcome(item), "cancelled");
            const bool isPaused = action == "pauseAll" || (action == "pause" && moment != Moment::held);
            if (isPaused) EXPECT_EQ(World::outcome(item), "paused");
            if (isPaused && moment != Moment::lookUp) EXPECT_TRUE(item->resumeData);
            if (action == "retry") EXPECT_EQ(World::outcome(item), "downloading");
            if (action == "retry" || !isPaused) continue;
            other.loop.advance(10min);
            EXPECT_EQ(test.refused, before) << "nobody asks any more";
            other.loop.advance(1h);
            test.manager.resumeAll();
            test.settle();
            test.expectArrived(item);
        }
    }
}

// What a run that is to end goes by.
TEST_F(RidingOut, knowsSinceWhenNothingHasComeWhileAllWaits) {
    for (int i = 0; i < 10; ++i) world.enqueue(addFile("file " + std::to_string(i)));
    world.loop.advance(5s);
    EXPECT_FALSE(manager.waitsForServiceSince());
    const auto last = world.loop.now();
    cutOff(1h);
    manager.pauseAll();  // and all connections end
    world.loop.advance(1s);
    manager.resumeAll();
    ASSERT_TRUE(world.loop.runUntil(
        [&] {
            const auto since = manager.waitsForServiceSince();
            return since && world.loop.now() - *since >= 10min;
        },
        12min));
    EXPECT_LE(*manager.waitsForServiceSince() - last, 2s);
    EXPECT_TRUE(manager.canRunNow());
    EXPECT_EQ(manager.downloads().count(Status::failed), 0U);
    world.loop.advance(52min);
    EXPECT_FALSE(manager.waitsForServiceSince());
    settle();
    expectAllArrived();
}

// Whoever meets it first takes it for a fault of its own, and may not get to try again.
TEST_F(RidingOut, knowsSinceWhenTheServiceIsAwayForAll) {
    for (int i = 0; i < 10; ++i) world.enqueue(addFile("file " + std::to_string(i)));
    serviceRefuses(1'000'000, HTTPResponse{503, ""});
    for (int minute = 1; minute <= 10; ++minute) {
        world.loop.advance(1min);
        EXPECT_TRUE(manager.waitsForServiceSince()) << "after " << minute << " minutes";
    }
}
}  // namespace
}  // namespace tovri::test
