// What an item remembers of the tries that failed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/receiving/RidingOut.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

// "It broke off. | HTTP error 503 from put.io."
std::string failuresOf(const Download& item) {
    std::string text;
    if (!item.failedTries) return text;
    for (const FailedTry& one : *item.failedTries) text += (text.empty() ? "" : " | ") + one.what;
    return text;
}

using Failures = RidingOut;

TEST_F(Failures, areToldForEachKindOfFault) {
    struct Case {
        const char* what = "";
        void (*spoil)(RidingOut& test, FileID file) = nullptr;
        const char* told = "";
    };

    const Case cases[] = {
        {"nothing", [](RidingOut&, FileID) {}, ""},
        {"storage is busy", [](RidingOut& t, FileID) { t.storageRefuses(503, 2); },
         "HTTP error 503 from put.io. | HTTP error 503 from put.io."},
        {"the interface is busy", [](RidingOut& t, FileID) { t.serviceRefuses(1, HTTPResponse{500, ""}); },
         "HTTP error 500 from put.io."},
        {"breaks", [](RidingOut& t, FileID file) { t.world.link(file).breaks = {{.at = 50'000}}; },
         "The connection broke."},
        {"serves the whole file where a part is asked for",
         [](RidingOut& t, FileID file) {
             t.world.link(file).breaks = {{.at = 50'000}};
             t.world.link(file).refusedResumes = 1;
         },
         "The connection broke. | The server did not go on where the transfer had stopped; the download starts over."},
        {"the link expires",
         [](RidingOut& t, FileID file) {
             t.world.link(file).breaks = {{.at = 50'000}};
             t.world.watch = [&t, file](DownloadManager&, const QueueChange& change) {
                 if (change.kind == QueueChange::Kind::hold) t.world.link(file).expired = 403;
             };
         },
         "The connection broke. | HTTP error 403 from put.io."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Fresh test;
        const FileID file = test.addFile("f");
        c.spoil(test, file);
        const ConstDownloadPointer item = test.world.enqueue(file);
        test.settle();
        test.expectAllArrived();
        EXPECT_EQ(failuresOf(*item), c.told);
    }
}

TEST_F(Failures, includeTheLastOneOnceAndOutliveTheProcess) {
    const FileID file = addFile("gone");
    serviceRefuses(1, HTTPResponse{404, ""});
    const ConstDownloadPointer queued = world.enqueue(file);
    const Timestamp begun = *queued->queuedAt;
    EXPECT_EQ(begun, world.clock.now());
    settle();
    EXPECT_EQ(World::outcome(queued), "failed: " + failuresOf(*queued));
    manager.retry(queued);
    settle();
    EXPECT_EQ(World::outcome(queued), "completed");
    const std::string told = failuresOf(*queued);
    EXPECT_FALSE(told.empty()) << "a retry forgets nothing";
    world.kill();
    world.start();
    const ConstDownloadPointer item = world.find(file);
    EXPECT_EQ(failuresOf(*item), told);
    EXPECT_EQ(item->queuedAt, begun);
}

TEST_F(Failures, areNotesOfAnItemThatWaits) {
    const FileID file = addFile("large");
    world.files.failNext("writeAt", {}, {ErrorCase::diskFull, "Your share is used up."}, 1);
    const ConstDownloadPointer item = world.enqueue(file);
    world.loop.advance(3s);
    EXPECT_EQ(failuresOf(*item), "Your share is used up.");
}

TEST_F(Failures, areKeptUpToTwenty) {
    const FileID file = addFile("f");
    for (int i = 1; i <= 25; ++i) world.link(file).breaks.push_back({.at = 3'000 * i});
    const ConstDownloadPointer item = world.enqueue(file);
    const Timestamp begun = world.clock.now();
    settle();
    expectArrived(item);
    ASSERT_EQ(item->failedTries->size(), 20U);
    EXPECT_GT(item->failedTries->front().at, begun);
    EXPECT_LE(item->failedTries->back().at, *item->completedAt);
    EXPECT_TRUE(std::ranges::is_sorted(*item->failedTries, {}, &FailedTry::at));
}

TEST_F(Failures, doNotCountWhatTheUserWants) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    world.loop.advance(2s);
    EXPECT_EQ(DownloadManager::connectionsOf(*item), 1);
    manager.pause(item);
    world.loop.advance(2s);
    EXPECT_EQ(DownloadManager::connectionsOf(*item), 0);
    manager.resume(item);
    world.loop.advance(2s);
    manager.cancel(item);
    settle();
    EXPECT_FALSE(item->failedTries) << failuresOf(*item);
}

}  // namespace
}  // namespace tovri::test
