// Measures what the downloads screen costs over a queue of 100,000 items, in processor time on simulated ports.
#include <benchmark/benchmark.h>

#include "bench/LongQueue.h"

using namespace tovri;
using namespace tovri::test;
using namespace std::chrono_literals;

namespace {

constexpr int itemCount = bench::LongQueue::itemCount;

// Three slow transfers, everything else waits.
class RunningQueue final : public bench::LongQueue {
public:
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
    RunningQueue queue;
    queue.startThree();
    const Subscription view = follow(queue.screen);
    if (state.range(0) != 0) queue.screen.appear();
    for (auto _ : state) queue.world.loop.advance(1s);
}

BENCHMARK(secondOfProgress)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->Iterations(30);

// One telling of the numbers, the remaining time of the whole queue included.
void tellingOfNumbers(benchmark::State& state) {
    RunningQueue queue;
    queue.startThree();
    const Subscription view = follow(queue.screen);
    for (auto _ : state) {
        queue.screen.appear();
        queue.screen.disappear();
    }
}

BENCHMARK(tellingOfNumbers)->Unit(benchmark::kMicrosecond);

// An item in the middle of the queue goes from one section to another; the argument says whether batches are shown.
void rowThatMoves(benchmark::State& state) {
    RunningQueue queue;
    queue.screen.showBatches(state.range(0) != 0);
    queue.world.loop.runUntilIdle();
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

BENCHMARK(rowThatMoves)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

// Every row goes over to another section: one reset.
void allRowsMove(benchmark::State& state) {
    RunningQueue queue;
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
    RunningQueue queue;
    std::size_t row = 0;
    for (auto _ : state) {
        row = (row + 7919) % itemCount;
        benchmark::DoNotOptimize(queue.screen.rowAt(row + 1));
    }
}

BENCHMARK(readingARow);

}  // namespace

BENCHMARK_MAIN();
