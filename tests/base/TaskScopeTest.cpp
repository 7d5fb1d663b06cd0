#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/TaskScope.h"

namespace tovri::test {
namespace {

// Suspends whoever awaits it until a test resumes them.
class Gate {
public:
    [[nodiscard]] bool await_ready() const { return isOpen_; }

    void await_suspend(std::coroutine_handle<> waiting) { waiting_ = waiting; }

    void await_resume() const {}

    void open() {
        isOpen_ = true;
        if (waiting_) waiting_.resume();
    }

private:
    bool isOpen_ = false;
    std::coroutine_handle<> waiting_;
};

struct Tasks {
    Gate gate;
    std::vector<std::string> told;
    std::shared_ptr<int> held = std::make_shared<int>(0);
    TaskScope scope;  // last

    Task<std::string> inner(std::string text) {
        const std::shared_ptr<int> mine = held;
        co_await gate;
        co_return text + " passed";
    }

    Task<void> outer(std::string text) {
        const std::shared_ptr<int> mine = held;
        const std::string answer = co_await inner(std::move(text));
        told.push_back(answer);
    }

    Task<int> countDown(int from) {
        if (from == 0) co_return 0;
        const int below = co_await countDown(from - 1);
        co_return below + 1;
    }

    Task<void> loopManyTimes() {
        int sum = 0;
        for (int i = 0; i < 100'000; ++i) {
            const int one = co_await countDown(1);
            sum += one;
        }
        told.push_back(std::to_string(sum));
    }
};

TEST(TaskScope, runsToTheFirstWaitAndOnFromThere) {
    Tasks tasks;
    tasks.scope.start(tasks.outer("one"));
    EXPECT_TRUE(tasks.told.empty());
    EXPECT_FALSE(tasks.scope.isEmpty());
    tasks.gate.open();
    ASSERT_EQ(tasks.told.size(), 1U);
    EXPECT_EQ(tasks.told.front(), "one passed");
    EXPECT_TRUE(tasks.scope.isEmpty());
    EXPECT_EQ(tasks.held.use_count(), 1);
}

TEST(TaskScope, dropsSuspendedTasksWithAllThatTheyHold) {
    const auto tasks = std::make_unique<Tasks>();
    const std::shared_ptr<int> held = tasks->held;
    std::optional<TaskScope> scope(std::in_place);
    const std::stop_token stop = scope->stopToken();
    scope->start(tasks->outer("never"));
    {
        const Task<void> unstarted = tasks->outer("never");
    }
    EXPECT_GT(held.use_count(), 2);
    scope.reset();
    EXPECT_TRUE(stop.stop_requested());
    EXPECT_EQ(held.use_count(), 2);
    EXPECT_TRUE(tasks->told.empty());
}

TEST(Task, longLoopsDoNotGrowTheStack) {
    Tasks tasks;
    tasks.scope.start(tasks.loopManyTimes());
    ASSERT_EQ(tasks.told.size(), 1U);
    EXPECT_EQ(tasks.told.front(), "100000");
}

}  // namespace
}  // namespace tovri::test
