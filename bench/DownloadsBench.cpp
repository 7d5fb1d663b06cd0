// Measures what a queue of 100,000 downloads costs the view that shows it, without a display: from the key or the menu
// to the drawn list.
#include <QApplication>

#include <benchmark/benchmark.h>

#include "bench/LongQueue.h"
#include "widgets/downloads/DownloadsView.h"
#include "widgets/rows/RowListView.h"
#include "widgets/theme/Theme.h"

using namespace tovri;

namespace {

class ShownQueue final : public bench::LongQueue {
public:
    ShownQueue() {
        view.resize(900, 600);
        view.show();
        draw();
    }

    // All that is due, and the list in sight.
    void draw() {
        world.loop.runUntilIdle();
        QApplication::processEvents();
        view.findChild<RowListView*>()->viewport()->repaint();
    }

    DownloadsView view{screen};
};

void filterBy(const std::string& text, benchmark::State& state) {
    ShownQueue queue;
    for (auto _ : state) {
        state.PauseTiming();
        queue.screen.search("");
        queue.draw();
        state.ResumeTiming();
        queue.screen.search(text);
        queue.draw();
    }
}

void filteredToFew(benchmark::State& state) {
    filterBy("77", state);
}

void filteredToAll(benchmark::State& state) {
    filterBy("s", state);
}

void sorted(benchmark::State& state) {
    ShownQueue queue;
    queue.world.manager().cancelAll();
    queue.draw();
    for (auto _ : state) {
        state.PauseTiming();
        queue.screen.orderFinished(FinishedOrder::queue);
        queue.draw();
        state.ResumeTiming();
        queue.screen.orderFinished(FinishedOrder::name);
        queue.draw();
    }
}

void folded(benchmark::State& state) {
    ShownQueue queue;
    for (auto _ : state) {
        state.PauseTiming();
        queue.screen.showBatches(false);
        queue.draw();
        state.ResumeTiming();
        queue.screen.showBatches(true);
        queue.draw();
    }
}

BENCHMARK(filteredToFew)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(filteredToAll)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(sorted)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(folded)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int count, char** arguments) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(count, arguments);
    const Theme theme(application);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
