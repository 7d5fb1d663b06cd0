#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/RecordingTerminal.h"
#include "cli/TerminalLog.h"
#include "support/VirtualLoop.h"

namespace tovri::cli {
namespace {

TEST(TerminalLog, leavesOutOfARoundWhatWasSaidOfTheSameRuleLast) {
    test::VirtualLoop loop;
    RecordingTerminal terminal;
    TerminalLog log(loop, terminal, TerminalLog::Stream::output);
    const auto round = [&](std::initializer_list<const char*> lines) {
        terminal.lines.clear();
        log.beginRound();
        for (const char* line : lines) log.line(line);
        log.endRound();
        return terminal.lines;
    };
    constexpr auto films = "[SyncManager] Films: 5 files total, 0 new, 0 in flight";
    constexpr auto shows = "[SyncManager] Shows: 2 files total, 0 new, 0 in flight";
    constexpr auto error = "[SyncManager] Error syncing Films: No connection.";
    constexpr auto queued = "[SyncManager] Enqueued 1 files for download";
    using testing::ElementsAre;
    EXPECT_THAT(round({films, shows}), ElementsAre(films, shows));
    EXPECT_THAT(round({films}), ElementsAre());
    EXPECT_THAT(round({}), ElementsAre());
    EXPECT_THAT(round({films, shows}), ElementsAre());
    EXPECT_THAT(round({error, shows}), ElementsAre(error));
    EXPECT_THAT(round({error}), ElementsAre());
    EXPECT_THAT(round({films}), ElementsAre(films));
    EXPECT_THAT(round({error}), ElementsAre(error));
    loop.advance(std::chrono::hours(1));
    EXPECT_THAT(round({error, shows}), ElementsAre(error));  // only what still fails is said again
    EXPECT_THAT(round({error}), ElementsAre());
    EXPECT_THAT(round({films}), ElementsAre(films));
    EXPECT_THAT(round({queued}), ElementsAre(queued));
    EXPECT_THAT(round({queued}), ElementsAre(queued));

    log.line(films);
    log.line(films);
    EXPECT_THAT(terminal.lines, ElementsAre(queued, films, films));  // outside of rounds all are said
}

}  // namespace
}  // namespace tovri::cli
