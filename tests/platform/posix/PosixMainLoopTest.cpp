#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/process/StandardOutputLog.h"
#include "support/ComesTrue.h"

namespace tovri::test {
namespace {

using std::chrono::milliseconds;

// Until a job quits. Fails where that takes too long.
void run(PosixMainLoop& loop) {
    const Subscription limit = loop.schedule(patience, [&] {
        ADD_FAILURE() << "nobody ends the loop";
        loop.quit();
    });
    loop.run();
}

TEST(PosixMainLoop, takesJobsFromManyThreadsInTheOrderOfEach) {
    constexpr int threadCount = 4;
    constexpr int jobsOfEach = 5000;
    PosixMainLoop loop;
    std::array<int, threadCount> next{};
    int ran = 0;
    std::vector<std::jthread> threads;
    for (std::size_t t = 0; t < threadCount; ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < jobsOfEach; ++i)
                loop.post([&, t, i] {
                    EXPECT_EQ(next[t]++, i);
                    if (++ran == threadCount * jobsOfEach) loop.quit();
                });
        });
    run(loop);
    EXPECT_EQ(ran, threadCount * jobsOfEach);
}

TEST(PosixMainLoop, sleepsUntilSomethingIsDue) {
    PosixMainLoop loop;
    std::vector<Subscription> waiting;
    for (int i = 0; i < 10'000; ++i) waiting.push_back(loop.schedule(std::chrono::hours(1), [] {}));
    const Subscription end = loop.schedule(milliseconds(200), [&] { loop.quit(); });
    rusage before{};
    ::getrusage(RUSAGE_THREAD, &before);
    run(loop);
    rusage after{};
    ::getrusage(RUSAGE_THREAD, &after);
    // One sleep, however long, and perhaps a page that must be fetched; a loop that looks around has a hundred.
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 10);
}

TEST(PosixMainLoop, watchesDescriptorsUntilTheirEnd) {
    PosixMainLoop loop;
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    std::string read;
    Subscription watch = loop.watch(reading.number(), PosixMainLoop::Readiness::readable, [&] {
        std::array<char, 10> bytes{};
        const ssize_t count = ::read(reading.number(), bytes.data(), bytes.size());
        read.append(bytes.data(), static_cast<std::size_t>(count));
        if (count > 0) return;
        watch.reset();
        loop.quit();
    });
    std::jthread writer([&] {
        ASSERT_EQ(::write(writing.number(), "abc", 3), 3);
        ASSERT_EQ(::write(writing.number(), "def", 3), 3);
        const FileDescriptor closed = std::move(writing);
    });
    run(loop);
    EXPECT_EQ(read, "abcdef");
}

TEST(PosixMainLoop, hearsSignalsAsLongAsSomebodyListens) {
    PosixMainLoop loop;
    struct sigaction before{};
    ::sigaction(SIGUSR1, nullptr, &before);
    int heard = 0;
    Subscription listening = loop.onSignal(SIGUSR1, [&] {
        if (++heard == 2) listening.reset();
        heard == 2 ? loop.quit() : static_cast<void>(::raise(SIGUSR1));
    });
    ::raise(SIGUSR1);
    run(loop);
    EXPECT_EQ(heard, 2);
    struct sigaction after{};
    ::sigaction(SIGUSR1, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
}

TEST(PosixBackgroundQueue, runsSeveralAtATimeAndWaitsForThemAtItsEnd) {
    PosixMainLoop loop;
    std::atomic<int> ended = 0;
    std::atomic<int> begun = 0;
    std::vector<Subscription> works;
    {
        PosixBackgroundQueue queue(loop, 2);
        for (int i = 0; i < 2; ++i)
            works.push_back(queue.run(
                [&](const std::stop_token& stop) {
                    ++begun;
                    EXPECT_TRUE(comesTrue([&] { return stop.stop_requested(); }));
                    ++ended;
                },
                [] {}));
        works.push_back(queue.run([&](const std::stop_token&) { ended = 100; }, [] {}));  // never gets a thread
        EXPECT_TRUE(comesTrue([&] { return begun == 2; }));
    }
    EXPECT_EQ(ended, 2);
}

TEST(PosixBackgroundQueue, askedToStopItFinishesWhatHasBegun) {
    PosixMainLoop loop;
    PosixBackgroundQueue queue(loop, 1);
    std::atomic<bool> hasBegun = false;
    bool isFinished = false;
    bool isReported = false;
    Subscription work = queue.run(
        [&](const std::stop_token& stop) {
            hasBegun = true;
            EXPECT_TRUE(comesTrue([&] { return stop.stop_requested(); }));
            isFinished = true;
        },
        [&] { isReported = true; });
    EXPECT_TRUE(comesTrue([&] { return hasBegun.load(); }));
    work.reset();
    const Subscription next = queue.run([](const std::stop_token&) {}, [&] { loop.quit(); });
    run(loop);
    EXPECT_TRUE(isFinished);
    EXPECT_FALSE(isReported);
}

TEST(StandardOutputLog, writesWholeLinesFromManyThreads) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const std::string text = "[Test] " + std::string(300, 'x');
    StandardOutputLog log(file);
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 3; ++t)
            threads.emplace_back([&] {
                for (int i = 0; i < 200; ++i) log.line(text);
            });
    }
    ASSERT_EQ(std::fseek(file, 0, SEEK_SET), 0);
    std::string read(3 * 200 * (text.size() + 1) + 1, '\0');
    read.resize(std::fread(read.data(), 1, read.size(), file));
    std::string expected;
    for (int i = 0; i < 600; ++i) expected += text + "\n";
    EXPECT_TRUE(read == expected);
    std::fclose(file);
}

TEST(StandardOutputLog, leavesNoTraceOfWhatCommandsATerminal) {
    std::FILE* const file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    StandardOutputLog(file).line("[Test] a\n[Forged] b\x1b]0;c\x07\x7F\xC2\x9B\xE2\x80\xAE\x9B");
    ASSERT_EQ(std::fseek(file, 0, SEEK_SET), 0);
    std::string read(200, '\0');
    read.resize(std::fread(read.data(), 1, read.size(), file));
    EXPECT_EQ(read, "[Test] a�[Forged] b�]0;c�����\n");
    std::fclose(file);
}

}  // namespace
}  // namespace tovri::test
