#include <csignal>
#include <future>
#include <map>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "base/TaskScope.h"
#include "platform/Await.h"
#include "platform/VolumeQueuesContract.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "support/ComesTrue.h"
#include "support/HandRunLoop.h"

namespace tovri::test {
namespace {

using std::chrono::milliseconds;

// Work that waits for as long as a test says, within reason.
class Hanging {
public:
    explicit Hanging(VolumeQueues& queues, const std::string& lane = "hung") {
        auto begun = std::make_shared<std::promise<void>>();
        queues.run(lane, [begun, end = end_.get_future().share()] {
            begun->set_value();
            end.wait_for(patience);
        });
        EXPECT_EQ(begun->get_future().wait_for(patience), std::future_status::ready);
    }

    ~Hanging() { end_.set_value(); }

    Hanging(const Hanging&) = delete;
    Hanging& operator=(const Hanging&) = delete;

private:
    std::promise<void> end_;
};

class ThreadWorld final : public LaneWorld {
public:
    VolumeQueues& queues() override { return queues_; }

    void hang(const std::string& lane) override { hanging_.try_emplace(lane, queues_, lane); }

    void goOn(const std::string& lane) override { hanging_.erase(lane); }

    bool runUntil(const std::function<bool()>& condition) override { return comesTrue(condition); }

private:
    PosixVolumeQueues queues_;
    std::map<std::string, Hanging> hanging_;
};

INSTANTIATE_TEST_SUITE_P(Threads, VolumeQueuesContract,
                         testing::Values([] { return std::make_unique<ThreadWorld>(); }));

TEST(PosixVolumeQueues, aHungThreadIsLeftBehindAndHarmless) {
    const auto held = std::make_shared<int>(1);
    auto queues = std::make_unique<PosixVolumeQueues>(PosixVolumeQueues::Patience{.atEnd = milliseconds(1)});
    const Hanging hanging(*queues);
    queues->run("hung", [held] { *held = 2; });
    queues.reset();  // returns although a lane hangs
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(*held, 1);
}

// Work whose result tells where it goes.
class Errand : public testing::Test {
public:
    Task<void> await() {
        using Resource = std::shared_ptr<Errand>;
        const Result<Resource> result = co_await onVolume<Resource>(loop, queues, "a", {}, [this] {
            begun.set_value();
            end.get_future().wait_for(patience);
            return Result<Resource>(
                Resource(this, [](Errand* errand) { errand->goneOn = std::this_thread::get_id(); }));
        });
        ADD_FAILURE() << "the wait was dropped";
    }

    HandRunLoop loop;
    PosixVolumeQueues queues;
    std::promise<void> begun;
    std::promise<void> end;
    std::thread::id goneOn;
};

TEST_F(Errand, aResultThatNobodyAwaitsGoesOnTheMainThread) {
    {
        TaskScope scope;
        scope.start(await());
        EXPECT_EQ(begun.get_future().wait_for(patience), std::future_status::ready);
    }
    end.set_value();
    ASSERT_TRUE(loop.waitForPost());
    ASSERT_TRUE(queues.finish(patience));
    EXPECT_EQ(goneOn, std::thread::id());
    loop.runPosted();
    EXPECT_EQ(goneOn, std::this_thread::get_id());
}

TEST(PosixVolumeQueues, lanesBeginAnewWhenTheirThreadHasLeft) {
    PosixVolumeQueues queues({.idle = milliseconds(0)});
    int count = 0;
    for (int i = 0; i < 300; ++i) {
        for (int j = 0; j < 3; ++j) queues.run("a", [&] { ++count; });
        if (i % 10 == 0) ASSERT_TRUE(queues.finish(patience));
    }
    ASSERT_TRUE(queues.finish(patience));
    EXPECT_EQ(count, 900);
}

TEST(PosixVolumeQueues, signalsStayWithTheMainThread) {
    PosixVolumeQueues queues;
    sigset_t blocked;
    sigemptyset(&blocked);
    queues.run("a", [&] { pthread_sigmask(SIG_BLOCK, nullptr, &blocked); });
    ASSERT_TRUE(queues.finish(patience));
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 1);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    EXPECT_EQ(sigismember(&blocked, SIGTERM), 0);
}

}  // namespace
}  // namespace tovri::test
