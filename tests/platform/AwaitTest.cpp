#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/TaskScope.h"
#include "platform/Await.h"
#include "support/ScriptedSessions.h"
#include "support/VirtualLoop.h"
#include "support/VirtualVolumeQueues.h"

namespace tovri::test {
namespace {

using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

// A program that waits for one thing of each kind, and tells how each wait ended.
class Await : public testing::Test {
public:
    void SetUp() override {
        http.handler = [](const HTTPRequest& request) { return HTTPResponse{200, request.method}; };
        queue.latency = milliseconds(30);
        volumes.longestDelay = milliseconds(30);
    }

    template <class T>
    static std::string ending(const Result<T>& result) {
        return result ? "arrived" : result.error().isCancellation() ? "cancelled" : "failed";
    }

    Task<void> sleep(std::stop_token stop) {
        const Result<std::monostate> slept = co_await sleepFor(loop, milliseconds(10), stop);
        told.push_back("sleep " + ending(slept));
    }

    Task<void> request(std::stop_token stop) {
        HTTPRequest sent;
        sent.url = "https://put.example/";
        const Result<HTTPResponse> answer = co_await Answer<HTTPResponse>(
            loop, stop, [this, &sent](auto done) { return http.send(std::move(sent), std::move(done)); });
        told.push_back("request " + ending(answer));
    }

    Task<void> work(std::stop_token stop) {
        const Result<int> worked =
            co_await inBackground<int>(loop, queue, stop, [](const std::stop_token&) { return Result<int>(5); });
        told.push_back("work " + ending(worked));
    }

    Task<void> volume(std::stop_token stop) {
        const Result<int> worked = co_await onVolume<int>(loop, volumes, "disk", stop, [this] {
            ++writes;
            return Result<int>(5);
        });
        told.push_back("volume " + ending(worked));
    }

    Task<void> atOnce() {
        const Result<int> answer = co_await Answer<int>(loop, {}, [](auto done) {
            done(7);
            return Subscription();
        });
        told.push_back(std::to_string(*answer));
    }

    void startAll() {
        scope->start(sleep(source.get_token()));
        scope->start(request(source.get_token()));
        scope->start(work(source.get_token()));
        scope->start(volume(source.get_token()));
    }

    VirtualLoop loop;
    ScriptedHTTPSession http{loop};
    VirtualBackgroundQueue queue{loop};
    VirtualVolumeQueues volumes{loop};
    int writes = 0;
    std::vector<std::string> told;
    std::stop_source source;
    std::optional<TaskScope> scope{std::in_place};
};

TEST_F(Await, eachWaitEndsWithItsAnswer) {
    startAll();
    loop.advance(milliseconds(50));
    EXPECT_THAT(told, UnorderedElementsAre("sleep arrived", "request arrived", "work arrived", "volume arrived"));
    source.request_stop();
    loop.advance(milliseconds(50));
    EXPECT_EQ(told.size(), 4U);
    EXPECT_TRUE(loop.isIdle());
}

TEST_F(Await, stopWakesOneTurnLaterAndTakesTheOperationBack) {
    startAll();
    source.request_stop();
    EXPECT_THAT(told, IsEmpty());
    loop.runUntilIdle();
    EXPECT_THAT(told,
                UnorderedElementsAre("sleep cancelled", "request cancelled", "work cancelled", "volume cancelled"));
    loop.advance(milliseconds(50));
    EXPECT_TRUE(loop.isIdle());
    EXPECT_EQ(writes, 0);
    EXPECT_EQ(http.answered, 0);

    // What is stopped before it waits never starts.
    told.clear();
    startAll();
    EXPECT_THAT(told, ElementsAre("sleep cancelled", "request cancelled", "work cancelled", "volume cancelled"));
    EXPECT_EQ(http.requests.size(), 1U);
}

TEST_F(Await, aWaitMayBeDroppedAtAnyMoment) {
    for (const auto moment : {milliseconds(0), milliseconds(15), milliseconds(30)}) {
        for (const bool isStopped : {false, true}) {
            source = std::stop_source();
            scope.emplace();
            told.clear();
            startAll();
            loop.advance(moment);
            const std::size_t endedBefore = told.size();
            if (isStopped) source.request_stop();  // the wake-up is on its way
            scope.reset();
            loop.advance(milliseconds(100));
            EXPECT_EQ(told.size(), endedBefore);
            EXPECT_TRUE(loop.isIdle());
            source.request_stop();
        }
    }
}

TEST_F(Await, anAnswerThatComesAtOnceNeedsNoTurnOfTheLoop) {
    scope->start(atOnce());
    EXPECT_THAT(told, ElementsAre("7"));
    EXPECT_TRUE(loop.isIdle());
}

}  // namespace
}  // namespace tovri::test
