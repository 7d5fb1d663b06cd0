// What a process without a screen holds that watches for months.
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "automation/SyncWorld.h"
#include "cli/RecordingTerminal.h"
#include "cli/TerminalLog.h"
#include "cli/months/HeldBytes.h"
#include "cli/running/RunReporter.h"
#include "cli/running/RunTally.h"
#include "downloads/OutdatedItems.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

// A watching process: two rules, one of which has its files deleted from put.io, and all that tells of them.
class Watch {
public:
    Watch() {
        SyncRule keeping = home.newRule(shows, "Shows");
        keeping.pollIntervalMinutes = 60;
        home.sync->addRule(keeping);
        SyncRule deleting = home.newRule(films, "Films");
        deleting.pollIntervalMinutes = 60;
        deleting.deleteAfterDownload = true;
        deleting.localFolderPath = World::downloads / "Films";
        home.sync->addRule(deleting);
        home.settle();
        tally = std::make_unique<cli::RunTally>(world.manager());
        reporter =
            cli::makeReporter(cli::ReportForm::json, {world.loop, world.clock, terminal, world.manager(), *tally});
        world.watch = [this](DownloadManager&, const QueueChange& change) {
            tally->follow(change);
            reporter->follow(change);
        };
        home.told = [this](const SyncChange& change) {
            if (change.kind == SyncChange::Kind::isSyncing && !home.sync->isSyncing())
                removeOutdatedItems(world.manager(), world.clock.now());
        };
    }

    // Ten files come: most into a folder of their own, one that cannot be fetched, some that are deleted.
    void live(int days) {
        for (int day = 0; day < days; ++day) {
            const FolderID season = world.addFolder("Season " + std::to_string(++seasons), shows);
            for (int number = 1; number <= 7; ++number)
                world.addFile("Episode " + std::to_string(number), "new", season);
            world.link(world.addFile("Broken", "new", season)).status = 501;
            for (int number = 1; number <= 2; ++number)
                world.addFile("Film " + std::to_string(number) + " of " + std::to_string(seasons), "new", films);
            home.sync->startPolling();
            world.loop.advance(2h);
            home.sync->stopPolling();
            world.takeAway(fileOf(season));
            world.loop.advance(22h);
            forgetTheDay();
        }
    }

    // How much goes with the process.
    std::ptrdiff_t end() {
        world.loop.advance(1min);
        const std::ptrdiff_t before = heldBytes();
        reporter.reset();
        tally.reset();
        home.kill();
        return before - heldBytes();
    }

    // What this test's side of the world remembers is not the process's; it only takes time to go through.
    void forgetTheDay() {
        for (const auto& [path, content] : world.files.files(World::downloads)) {
            world.takenAway.insert(path);
            world.files.removeItem(path).value();
        }
        world.log.lines.clear();
        world.http.requests.clear();
        world.files.operations.clear();
        terminal.lines.clear();
    }

    SyncWorld home;
    World& world = home.world;
    FolderID shows = world.addFolder("Shows");
    FolderID films = world.addFolder("Films");
    int seasons = 0;
    cli::RecordingTerminal terminal;
    std::unique_ptr<cli::RunTally> tally;
    std::unique_ptr<cli::RunReporter> reporter;
};

std::ptrdiff_t heldAfter(int days) {
    Watch watch;
    watch.live(days);
    EXPECT_EQ(watch.tally->arrived, static_cast<std::size_t>(9 * days));
    return watch.end();
}

TEST(Months, leaveAWatchAsLargeAsTheFirst) {
    constexpr std::ptrdiff_t mebibyte = 1'048'576;
    const std::ptrdiff_t month = heldAfter(31);
    const std::ptrdiff_t year = heldAfter(13 * 31);
    RecordProperty("month", std::to_string(month));
    RecordProperty("year", std::to_string(year));
    EXPECT_GT(month, 0);
    EXPECT_LE(year - month, mebibyte);
}

}  // namespace
}  // namespace tovri::test
