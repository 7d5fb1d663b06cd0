// Measures what a rule costs that has seen a hundred thousand files: reading the rules, settling one more file while
// the main loop waits, and writing them behind its back.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <vector>

#include <benchmark/benchmark.h>

#include "automation/SyncManager.h"
#include "automation/SyncRuleCoding.h"
#include "platform/posix/files/PosixFileManager.h"
#include "platform/posix/folders/PathFolderAccess.h"
#include "platform/posix/loop/PosixBackgroundQueue.h"
#include "platform/posix/loop/PosixMainLoop.h"
#include "platform/posix/loop/PosixVolumeQueues.h"
#include "platform/posix/loop/SystemClock.h"
#include "platform/posix/loop/SystemRandom.h"
#include "platform/posix/process/StandardOutputLog.h"

using namespace tovri;

namespace {

// Between two files of the rule lie six that it does not know.
constexpr std::int64_t firstFile = 1'000'000'000;
constexpr std::int64_t step = 7;

[[nodiscard]] FileID nextUnknown(FileID file) {
    return FileID((file.number + 1 - firstFile) % step == 0 ? file.number + 2 : file.number + 1);
}

SyncRule longWatched(std::int64_t files, RandomSource& random) {
    SyncRule rule;
    rule.id = random.makeUUID();
    rule.putioFolderName = "Shows";
    rule.localFolderPath = "/home/somebody/Shows";
    rule.isInitialized = true;
    std::vector<FileID> known;
    for (std::int64_t i = 0; i < files; ++i) known.emplace_back(firstFile + i * step);
    rule.knownFileIDs = FileIDSet(std::move(known));
    return rule;
}

// A rules file on the disk of the temporary folder, and the machine around it.
struct Machine {
    explicit Machine(std::int64_t files) : folder(std::filesystem::temp_directory_path() / "tovri-rules-bench") {
        std::filesystem::create_directories(folder);
        std::ofstream file(folder / "sync-rules.json");
        (void)encodeRules({longWatched(files, random)}, [&](std::string_view piece) {
            file << piece;
            return Result<void>();
        });
    }

    ~Machine() { std::filesystem::remove_all(folder); }

    [[nodiscard]] Platform platform() {
        return {loop, clock, random, fileManager, folderAccess, background, volumes, log, {folder, folder, folder}};
    }

    std::filesystem::path folder;
    PosixMainLoop loop;
    SystemClock clock;
    SystemRandom random;
    PosixFileManager fileManager;
    PathFolderAccess folderAccess;
    PosixBackgroundQueue background{loop};
    PosixVolumeQueues volumes;
    StandardOutputLog log{stderr};
};

void load(benchmark::State& state) {
    Machine machine(state.range(0));
    for (auto _ : state) {
        const SyncManager manager(syncPorts(machine.platform()));
        if (manager.rules().size() != 1) state.SkipWithError("The rules were not read.");
    }
}

// What the main loop waits for; the write goes on beside it, as it would.
void settle(benchmark::State& state) {
    Machine machine(state.range(0));
    SyncManager manager(syncPorts(machine.platform()));
    const UUID rule = manager.rules().at(0).id;
    FileID file(firstFile + 1);  // in front of the others, which an insertion moves
    double longest = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        manager.fileSettled(rule, file);
        const std::chrono::duration<double, std::milli> held = std::chrono::steady_clock::now() - start;
        longest = std::max(longest, held.count());
        file = nextUnknown(file);
    }
    state.counters["longestMilliseconds"] = longest;
}

void write(benchmark::State& state) {
    Machine machine(state.range(0));
    SyncManager manager(syncPorts(machine.platform()));
    const UUID rule = manager.rules().at(0).id;
    FileID file(firstFile + 1);
    for (auto _ : state) {
        manager.fileSettled(rule, file);
        file = nextUnknown(file);
        if (!manager.saveNow()) state.SkipWithError("The rules were not written.");
    }
}

BENCHMARK(load)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(settle)->Arg(100'000)->Unit(benchmark::kMillisecond)->Iterations(2'000);
BENCHMARK(write)->Arg(100'000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
