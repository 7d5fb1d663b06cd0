// Measures what the downloads screen costs over a queue of 100,000 items, in processor time on simulated ports.
#include <benchmark/benchmark.h>

#include "downloads/World.h"
#include "screens/downloads/DownloadsScreen.h"
#include "support/FakeWorkspace.h"
#include "support/PlainTextCollation.h"

using namespace tovri;
using namespace tovri::test;
using namespace std::chrono_literals;

namespace {

constexpr int itemCount = 100'000;

// Three slow transfers, everything else waits.
class LongQueue {
public:
    LongQueue() {
        const FolderID folder = world.addFolder("Series");
        for (int i = 0; i < itemCount; ++i) {
            const std::string number = std::to_string(i);
            const FileID file = world.addFile("Some episode with a name of usual length - " + number, "", folder);
            world.announceSize(file, 734'003'200);
        }
        world.manager().pauseAll();
        world.enqueueFolder(folder, false);
        world.loop.advance(1s);
    }

    void startThree() {
        world.preferences.setMaxConcurrentDownloads(3);
        for (std::size_t i = 0; i < 3; ++i) {
            SimulatedStorage::Link& link = world.link(world.manager().downloads().items()[i]->fileID);
            link.content.resize(10'000'000, '.');
            link.rate = 10'000;
        }
        world.manager().resumeAll();
        world.loop.advance(2s);
    }

    World world;
    FakeWorkspace workspace;
    SpeedLimit limit{world.loop};
    SpeedControl speed{world.loop, world.clock, world.preferences, limit};
    Notices notices{world.loop};
    PlainTextCollation collation;
    DownloadsScreen screen{
        {world.manager(), speed, workspace, notices, collation, world.loop, world.clock, world.random}};
};

// A view that reads the rows of which it is told, as far as they fit a window.
Subscription follow(DownloadsScreen& screen) {
    return screen.onChange([&screen](const ScreenChange& change) {
        if (change.kind != ScreenChange::Kind::changed && change.kind != ScreenChange::Kind::inserted) return;
        for (std::size_t row = change.first; row < change.first + change.count && row < 20; ++row)
            if (!screen.isHeader(row)) benchmark::DoNotOptimize(screen.rowAt(row));
    });
}

// A second of three transfers that report 20 times a second each; the argument says whether the screen is on view. The
// rest is the engine's, which also saves the queue now and then.
void secondOfProgress(benchmark::State& state) {
    LongQueue queue;
    queue.startThree();
    const Subscription view = follow(queue.screen);
    if (state.range(0) != 0) queue.screen.appear();
    for (auto _ : state) queue.world.loop.advance(1s);
}

BENCHMARK(secondOfProgress)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(30);

// One telling of the numbers, the remaining time of the whole queue included.
void tellingOfNumbers(benchmark::State& state) {
    LongQueue queue;
    queue.startThree();
    const Subscription view = follow(queue.screen);
    for (auto _ : state) {
        queue.screen.appear();
        queue.screen.disappear();
    }
}

BENCHMARK(tellingOfNumbers)->Unit(benchmark::kMicrosecond);

// An item in the middle of the queue goes from one section to another.
void rowThatMoves(benchmark::State& state) {
    LongQueue queue;
    const Subscription view = follow(queue.screen);
    queue.screen.appear();
    const ConstDownloadPointer item = queue.world.manager().downloads().items()[itemCount / 2];
    for (auto _ : state) {
        if (item->status == DownloadStatus::cancelled)
            queue.world.manager().retry(item);
        else
            queue.world.manager().cancel(item);
        queue.world.loop.runUntilIdle();
    }
}

BENCHMARK(rowThatMoves)->Unit(benchmark::kMicrosecond);

// Every row goes over to another section: one reset.
void allRowsMove(benchmark::State& state) {
    LongQueue queue;
    const Subscription view = follow(queue.screen);
    queue.screen.appear();
    for (auto _ : state) {
        queue.world.manager().pauseAll();
        queue.world.loop.runUntilIdle();
        state.PauseTiming();
        queue.world.preferences.setMaxConcurrentDownloads(1);
        queue.world.manager().resumeAll();
        queue.world.loop.runUntilIdle();
        state.ResumeTiming();
    }
}

BENCHMARK(allRowsMove)->Unit(benchmark::kMillisecond)->Iterations(10);

void readingARow(benchmark::State& state) {
    LongQueue queue;
    std::size_t row = 0;
    for (auto _ : state) {
        row = (row + 7919) % itemCount;
        benchmark::DoNotOptimize(queue.screen.rowAt(row + 1));
    }
}

BENCHMARK(readingARow);

}  // namespace

BENCHMARK_MAIN();
