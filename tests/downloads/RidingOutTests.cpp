// What put.io, its storage and the way to them do wrong for a while, and that all arrives in spite of it.
#include <deque>
#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "downloads/World.h"

namespace tovri::test {
namespace {

using Status = Download::Status;
using namespace std::chrono_literals;

Error away(const char* host) {
    return {TransportFault::unreachable, std::string("Could not connect to ") + host + "; retry."};
}

AnswerHead refusal(int status, RetryHints hints = {}) {
    AnswerHead head;
    head.status = status;
    head.retryHints = std::move(hints);
    return head;
}

// Files that are on their way, and the faults that they meet.
class RidingOut : public testing::Test {
public:
    FileID addFile(const std::string& name, std::size_t size = 100'000, int seconds = 10) {
        const FileID file = world.addFile(name, name + std::string(size, '.'));
        world.link(file).rate = static_cast<ByteCount>(size) / seconds;
        allBytes += static_cast<ByteCount>(name.size() + size);
        return file;
    }

    // Storage answers so the next times.
    void storageRefuses(int status, int times, RetryHints hints = {}) {
        world.storage.refuses = [this, status, left = times, hints](const std::string&) mutable {
            if (left-- <= 0) return std::optional<AnswerHead>();
            ++refused;
            return std::optional(refusal(status, hints));
        };
    }

    // And the interface, to questions.
    void serviceRefuses(int times, const Result<HTTPResponse>& answer) {
        world.interferes = [this, left = times, answer](const HTTPRequest& request) mutable {
            const bool strikes = request.method == "GET" && left-- > 0;
            if (strikes) ++refused;
            return strikes ? std::optional(answer) : std::nullopt;
        };
    }

    // Nobody is there until then.
    void cutOff(MainLoop::Duration duration) {
        const auto until = world.loop.now() + duration;
        world.storage.keepsAway = [this, until](const std::string&) -> std::optional<Error> {
            if (world.loop.now() >= until) return std::nullopt;
            ++refused;
            return away("storage.put.io");
        };
        world.interferes = [this, until](const HTTPRequest&) -> std::optional<Result<HTTPResponse>> {
            if (world.loop.now() >= until) return std::nullopt;
            ++refused;
            return failure(away("api.put.io"));
        };
    }

    void settle() {
        ASSERT_TRUE(world.loop.runUntil([this] { return world.loop.isIdle(); }, 48h));
    }

    void expectArrived(const ConstDownloadPointer& item) {
        EXPECT_EQ(World::outcome(item), "completed") << item->fileName;
        EXPECT_EQ(world.files.content(World::downloads / item->fileName), world.contentOf(item->fileID));
        EXPECT_FALSE(item->tries || item->hold);
    }

    void expectAllArrived() {
        for (const ConstDownloadPointer& item : manager.downloads().items()) expectArrived(item);
        EXPECT_TRUE(world.files.files(World::partials).empty());
    }

    World world;
    DownloadManager& manager = world.manager();
    ByteCount allBytes = 0;
    int refused = 0;
};

// One of several in a test.
class Fresh final : public RidingOut {
    void TestBody() override {}
};

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

// Nothing of this is counted against the server's word, however often it has to be asked.
TEST_F(RidingOut, aServiceThatTakesTenRequestsASecond) {
    std::deque<MainLoop::TimePoint> taken;
    int asked = 0;
    const auto isTooMany = [&] {
        ++asked;
        const auto now = world.loop.now();
        while (!taken.empty() && now - taken.front() >= 1s) taken.pop_front();
        if (taken.size() >= 10) return ++refused, true;
        taken.push_back(now);
        return false;
    };
    world.storage.refuses = [&](const std::string&) {
        return isTooMany() ? std::optional(refusal(429)) : std::nullopt;
    };
    world.interferes = [&](const HTTPRequest&) -> std::optional<Result<HTTPResponse>> {
        if (isTooMany()) return HTTPResponse{429, ""};
        return std::nullopt;
    };
    world.preferences.setMaxConcurrentDownloads(6);
    manager.pauseAll();
    for (int i = 0; i < 200; ++i) world.enqueue(world.addFile("file " + std::to_string(i), "content"));
    manager.resumeAll();
    const auto begun = world.loop.now();
    settle();
    expectAllArrived();
    EXPECT_LE(refused * 20, asked) << "of " << asked;
    EXPECT_LE(world.loop.now() - begun, 140s);  // 40 at best
}

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

TEST_F(RidingOut, asksForALinkThreeTimesWithoutANewByte) {
    const ConstDownloadPointer item = world.enqueue(addFile("f"));
    world.link(item->fileID).status = 404;
    settle();
    EXPECT_EQ(World::outcome(item), "failed: HTTP error 404 from put.io.");
    EXPECT_EQ(world.storage.started.size(), 4U);
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
