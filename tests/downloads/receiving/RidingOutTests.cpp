// What put.io, its storage and the way to them do wrong, and that all arrives in spite of it.
#include <deque>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/receiving/RidingOut.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

TEST_F(RidingOut, eachFaultOnceAndAsABurst) {
    struct Case {
        const char* what = "";
        void (*spoil)(RidingOut& test, FileID file, int times) = nullptr;
        bool isFetchedOnce = true;
    };

    const Case cases[] = {
        {"breaks", [](RidingOut& t, auto file, int n) { t.world.link(file).breaks = {{.at = 50'000, .times = n}}; }},
        {"breaks before the first byte",
         [](RidingOut& t, auto file, int n) { t.world.link(file).breaks = {{.at = 0, .times = n}}; }},
        {"falls silent",
         [](RidingOut& t, auto file, int n) {
             t.world.link(file).breaks = {{.at = 50'000, .times = n, .fault = TransportFault::silent}};
         }},
        {"breaks at several places",
         [](RidingOut& t, auto file, int n) {
             for (int i = 0; i < n; ++i) t.world.link(file).breaks.push_back({.at = 10'000 * i + 7});
         }},
        {"breaks where it cannot be gone on with",
         [](RidingOut& t, auto file, int n) {
             t.world.link(file).breaks = {{.at = 50'000, .isResumable = false, .times = n}};
         },
         false},
        {"serves the whole file where a part is asked for",
         [](RidingOut& t, auto file, int n) {
             t.world.link(file).breaks = {{.at = 50'000, .times = n}};
             t.world.link(file).refusedResumes = 100;
         },
         false},
        {"expires",
         [](RidingOut& t, auto file, int) {
             t.world.link(file).breaks = {{.at = 50'000}};
             t.world.watch = [&t, file](DownloadManager&, const QueueChange& change) {
                 if (change.kind == QueueChange::Kind::hold) t.world.link(file).expired = 403;
             };
         }},
        {"408", [](RidingOut& t, auto, int n) { t.storageRefuses(408, n); }},
        {"425", [](RidingOut& t, auto, int n) { t.storageRefuses(425, n); }},
        {"429", [](RidingOut& t, auto, int n) { t.storageRefuses(429, n); }},
        {"500", [](RidingOut& t, auto, int n) { t.storageRefuses(500, n); }},
        {"502", [](RidingOut& t, auto, int n) { t.storageRefuses(502, n); }},
        {"503", [](RidingOut& t, auto, int n) { t.storageRefuses(503, n); }},
        {"504", [](RidingOut& t, auto, int n) { t.storageRefuses(504, n); }},
        {"look-up 429", [](RidingOut& t, auto, int n) { t.serviceRefuses(n, HTTPResponse{429, ""}); }},
        {"look-up 500", [](RidingOut& t, auto, int n) { t.serviceRefuses(n, HTTPResponse{500, ""}); }},
        {"look-up 503", [](RidingOut& t, auto, int n) { t.serviceRefuses(n, HTTPResponse{503, ""}); }},
        {"look-up breaks",
         [](RidingOut& t, auto, int n) {
             t.serviceRefuses(n, failure(Error(TransportFault::brokenOff, "It broke off.")));
         }},
        {"the name is not found",
         [](RidingOut& t, auto, int n) {
             t.serviceRefuses(n, failure(Error(TransportFault::unresolved, "Could not find api.put.io; retry.")));
         }},
    };
    for (const Case& c : cases) {
        for (const int times : {1, 6}) {
            SCOPED_TRACE(std::string(c.what) + " " + std::to_string(times) + " times");
            Fresh test;
            const FileID file = test.addFile("f");
            c.spoil(test, file, times);
            const ConstDownloadPointer item = test.world.enqueue(file);
            test.settle();
            test.expectAllArrived();
            if (c.isFetchedOnce) EXPECT_LE(test.world.storage.bytesSent, test.allBytes * 101 / 100);
        }
    }
}

TEST_F(RidingOut, faultsOfAllKindsOverTwentyFiles) {
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        Fresh test;
        std::mt19937_64 dice(seed);
        const auto roll = [&](std::size_t sides) { return dice() % sides; };
        for (int i = 0; i < 20; ++i) {
            const FileID file = test.addFile("file " + std::to_string(i), 50'000 + roll(100'000));
            auto& breaks = test.world.link(file).breaks;
            for (std::size_t count = roll(4); count > 0; --count)
                breaks.push_back({.at = static_cast<ByteCount>(roll(50'000)),
                                  .times = 1 + static_cast<int>(roll(3)),
                                  .fault = roll(4) > 0 ? TransportFault::brokenOff : TransportFault::silent});
            test.world.enqueue(file);
        }
        const int statuses[] = {403, 408, 425, 429, 500, 502, 503, 504};
        test.world.storage.refuses = [&](const std::string&) {
            return roll(10) == 0 ? std::optional(refusal(statuses[roll(8)])) : std::nullopt;
        };
        test.world.interferes = [&](const HTTPRequest&) -> std::optional<Result<HTTPResponse>> {
            if (roll(10) == 0) return failure(away("api.put.io"));
            if (roll(10) == 0) return HTTPResponse{statuses[1 + roll(7)], ""};
            return std::nullopt;
        };
        test.settle();
        test.expectAllArrived();
        EXPECT_LE(test.world.storage.bytesSent, test.allBytes * 101 / 100);
        if (HasFailure()) return;
    }
}

TEST_F(RidingOut, outagesOfHalfAMinuteAndOfAnHour) {
    for (const auto outage : {std::chrono::seconds(30), std::chrono::seconds(3600)}) {
        SCOPED_TRACE(outage.count());
        Fresh test;
        for (int i = 0; i < 20; ++i) test.world.enqueue(test.addFile("file " + std::to_string(i)));
        test.world.loop.advance(15s);
        test.cutOff(outage);
        // What is under way breaks with it.
        for (const ConstDownloadPointer& item : test.manager.downloads().withStatus(Status::downloading))
            test.world.link(item->fileID).breaks = {{.at = item->bytesDownloaded + 1000}};
        test.world.loop.advance(outage);
        EXPECT_EQ(test.manager.downloads().count(Status::failed), 0U);
        EXPECT_LE(test.refused, 20 + outage.count() / 15) << "one tries for all";
        test.settle();
        test.expectAllArrived();
    }
}

// A service, with its storage, that takes so many requests in any second.
class SparingService {
public:
    SparingService(RidingOut& test, std::size_t perSecond, RetryHints hints) : test_(test), perSecond_(perSecond) {
        test.world.storage.refuses = [this, hints](const std::string&) {
            return isTooMany() ? std::optional(refusal(429, hints)) : std::nullopt;
        };
        test.world.interferes = [this, hints](const HTTPRequest&) -> std::optional<Result<HTTPResponse>> {
            if (isTooMany()) return HTTPResponse{429, "", hints};
            return std::nullopt;
        };
    }

    [[nodiscard]] double refusedPart() const { return static_cast<double>(test_.refused) / asked_; }

private:
    bool isTooMany() {
        ++asked_;
        const auto now = test_.world.loop.now();
        while (!taken_.empty() && now - taken_.front() >= 1s) taken_.pop_front();
        if (taken_.size() >= perSecond_) return ++test_.refused, true;
        taken_.push_back(now);
        return false;
    }

    RidingOut& test_;
    std::size_t perSecond_;
    std::deque<MainLoop::TimePoint> taken_;
    int asked_ = 0;
};

TEST_F(RidingOut, aServiceThatTakesFewRequestsInASecond) {
    struct Case {
        std::size_t perSecond;
        RetryHints hints;
        std::chrono::seconds longest;  // for 200 look-ups and 200 transfers
        double mostRefused;
    };

    const Case cases[] = {
        {10, {}, 80s, 0.05},
        {10, {"1", "", ""}, 80s, 0.05},
        {5, {}, 160s, 0.05},
        {2, {}, 300s, 0.05},
        {2, {"", "", "5"}, 450s, 0.08},
        {1, {}, 1200s, 0.25},
        {1, {"1", "", ""}, 1200s, 0.25},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.perSecond) + " a second " + c.hints.retryAfter + c.hints.rateLimitReset);
        Fresh test;
        SparingService service(test, c.perSecond, c.hints);
        test.world.preferences.setMaxConcurrentDownloads(6);
        test.manager.pauseAll();
        for (int i = 0; i < 200; ++i) test.world.enqueue(test.world.addFile("file " + std::to_string(i), "content"));
        test.manager.resumeAll();
        EXPECT_TRUE(test.world.loop.runUntil([&] { return test.world.loop.isIdle(); }, c.longest));
        test.expectAllArrived();
        EXPECT_LE(service.refusedPart(), c.mostRefused);
    }
}

TEST_F(RidingOut, asksForALinkThreeTimesWithoutANewByte) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    world.link(item->fileID).status = 404;
    settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 404 from put.io.");
    EXPECT_EQ(world.storage.started.size(), 4U);
}

// As often as they like, where each brings a byte.
TEST_F(RidingOut, asksForALinkWheneverOneHasExpired) {
    const FileID file = addFile("f");
    for (int i = 1; i <= 6; ++i) world.link(file).breaks.push_back({.at = 15'000 * i});
    world.watch = [&](DownloadManager&, const QueueChange& change) {
        if (change.kind == QueueChange::Kind::hold) world.link(file).expired = 401;
    };
    world.enqueue(file);
    settle();
    expectAllArrived();
    EXPECT_EQ(world.http.requests.size(), 7U);
    EXPECT_LE(world.storage.bytesSent, allBytes * 101 / 100);
}

TEST_F(RidingOut, goesOnAtOnceAfterTheMachineSlept) {
    const FileID file = addFile("f");
    world.link(file).breaks = {{.at = 50'000, .fault = TransportFault::machineSlept}};
    const ConstDownloadPointer item = world.enqueue(file);
    ASSERT_TRUE(world.loop.runUntil([&] { return world.link(file).breaks.front().times == 0; }));
    ASSERT_TRUE(world.loop.runUntil([&] { return item->bytesDownloaded >= 50'000; }));
    world.loop.advance(100ms);
    EXPECT_EQ(world.storage.started.size(), 2U);
    settle();
    expectArrived(item);
}

TEST_F(RidingOut, fewBytesInAMinuteGiveTheSlotToOneThatWaits) {
    world.preferences.setMaxConcurrentDownloads(1);
    const FileID slow = addFile("slow", 20'000);
    world.link(slow).rate = 50;
    const ConstDownloadPointer item = world.enqueue(slow);
    world.loop.advance(2min);
    EXPECT_EQ(World::outcome(item), "downloading") << "nobody wants the slot";
    const ConstDownloadPointer other = world.enqueue(addFile("other", 100'000, 300));
    ASSERT_TRUE(world.loop.runUntil([&] { return item->status == Status::queued; }, 61s));
    EXPECT_TRUE(item->resumeData && item->hold);
    world.loop.advance(62s);
    EXPECT_EQ(World::outcome(item), "queued");
    EXPECT_EQ(World::outcome(other), "downloading");
    settle();
    expectAllArrived();
    EXPECT_LE(world.storage.bytesSent, allBytes * 101 / 100);
}

TEST_F(RidingOut, listsAFolderThroughFaultsButDeletesOnce) {
    const FolderID folder = world.addFolder("F");
    for (int i = 0; i < 30; ++i) world.addFile("file " + std::to_string(i), "x", folder);
    world.pageSize = 10;
    int listings = 0;
    int deletions = 0;
    world.interferes = [&](const HTTPRequest& request) -> std::optional<Result<HTTPResponse>> {
        const bool deletes = request.url.ends_with("/files/delete");
        if (deletes && ++deletions == 1) return HTTPResponse{503, ""};
        const bool isRest = request.url.ends_with("/continue");
        if ((isRest || request.url.contains("parent_id")) && ++listings <= 6)
            return listings % 2 == 0 ? Result<HTTPResponse>(HTTPResponse{503, ""}) : failure(away("api.put.io"));
        return std::nullopt;
    };
    world.enqueueFolder(folder, true);
    settle();
    EXPECT_EQ(manager.downloads().items().size(), 30U);
    EXPECT_EQ(deletions, 1);
    EXPECT_EQ(manager.downloads().count(Status::remoteDeleteFailed), 30U);
}
}  // namespace
}  // namespace tovri::test
