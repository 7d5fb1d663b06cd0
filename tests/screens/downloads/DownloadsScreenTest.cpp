#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "screens/downloads/DownloadsScreen.h"
#include "support/FakeWorkspace.h"
#include "support/PlainTextCollation.h"

namespace tovri::test {
namespace {

using Kind = ScreenChange::Kind;
using Status = DownloadStatus;
using namespace std::chrono_literals;

class Downloads : public testing::Test {
public:
    Downloads() {
        world.preferences.setMaxConcurrentDownloads(2);
        screen.appear();
    }

    // A file of 1,000 bytes that takes so many seconds.
    ConstDownloadPointer enqueue(const std::string& name, int seconds = 10) {
        const FileID file = world.addFile(name, std::string(1000, '.'));
        world.link(file).rate = 1000 / seconds;
        const ConstDownloadPointer item = world.enqueue(file);
        world.loop.runUntilIdle();
        return item;
    }

    [[nodiscard]] std::string shown() const {
        std::string text;
        for (std::size_t row = 0; row < screen.rowCount(); ++row)
            text += (screen.isHeader(row) ? "[" + screen.headerAt(row) + "]" : screen.titleAt(row)) + " ";
        return text;
    }

    [[nodiscard]] std::string statusOf(const ConstDownloadPointer& item) const {
        return screen.rowAt(screen.rowOf(item->id).value()).statusText();
    }

    [[nodiscard]] std::string summary() const {
        std::string text;
        for (const Label& part : screen.summary())
            text += (text.empty() ? "" : ", ") + std::string(part.symbol) + " " + part.text;
        return text;
    }

    // Titles of what is visible; in parentheses what is disabled.
    [[nodiscard]] std::string toolbar() const {
        std::string text;
        for (const auto& item : screen.toolbar())
            if (item.isVisible) text += (item.isEnabled ? item.title : "(" + item.title + ")") + " ";
        return text;
    }

    [[nodiscard]] std::size_t told(Kind kind) const {
        return static_cast<std::size_t>(std::ranges::count(changes, kind, &ScreenChange::kind));
    }

    World world;
    FakeWorkspace workspace;
    MemoryUserDefaults defaults;
    DesktopPreferences desktop{defaults};
    SpeedLimit limit{world.loop};
    SpeedControl speed{world.loop, world.clock, world.preferences, limit};
    Notices notices{world.loop};
    PlainTextCollation collation;
    DownloadsScreen screen{
        {world.manager(), speed, desktop, workspace, notices, collation, world.loop, world.clock, world.random}};
    std::vector<ScreenChange> changes;
    Subscription following{screen.onChange([this](const ScreenChange& change) { changes.push_back(change); })};
};

TEST_F(Downloads, listsAFileUnderTheNameThatItHasHere) {
    world.preferences.setConflictBehavior(ConflictBehavior::keepBoth);
    world.files.put(World::downloads / "f.txt", "old");
    screen.search("(1)");
    const ConstDownloadPointer item = enqueue("f.txt");
    EXPECT_EQ(shown(), "");
    ASSERT_TRUE(world.runUntil(item, Status::completed));
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "[Finished] f (1).txt ");
    EXPECT_EQ(screen.rowAt(1).title, "f (1).txt");
    screen.search("f.t");
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "[Finished] f (1).txt ");
}

TEST_F(Downloads, deletesAnywayWhatTheUserHasReadIsMissing) {
    const ConstDownloadPointer item = world.enqueue(world.addFile("f", "bytes"), {.deleteAfterDownload = true});
    world.watch = [this](DownloadManager&, const QueueChange& change) {
        if (change.item && change.item->status == Status::deleting)
            (void)world.files.removeItem(World::downloads / "f");
    };
    const auto offers = [&] {
        return std::ranges::any_of(screen.menuAt({screen.rowOf(item->id).value()}),
                                   [](const auto& entry) { return entry.title == "Delete from put.io Anyway"; });
    };
    world.doesNotConfirm = true;
    world.loop.advance(1s);
    ASSERT_TRUE(offers());
    screen.perform(DownloadAction::deleteAnyway, item->id);
    EXPECT_TRUE(world.deletions.empty());
    ASSERT_TRUE(screen.dialogs().pendingAction());
    EXPECT_EQ(screen.dialogs().pendingAction()->message,
              "\"/home/user/Downloads/f\" is not there any more. Nothing was deleted from put.io. It is deleted from "
              "put.io all the same.");
    screen.dialogs().confirm();
    world.loop.advance(1s);
    EXPECT_EQ(World::outcome(item), "remoteDeleteFailed: put.io did not confirm the deletion.");
    EXPECT_FALSE(offers());  // nothing was found missing that time
    world.doesNotConfirm = false;
    world.mayLose = true;
    world.manager().retryDelete(item);
    world.loop.advance(1s);
    screen.perform(DownloadAction::deleteAnyway, item->id);
    screen.dialogs().confirm();
    world.loop.advance(1s);
    EXPECT_EQ(World::outcome(item), "completed");
    EXPECT_EQ(world.deletions.size(), 1U);
}

TEST_F(Downloads, showsTheQueueInSections) {
    ASSERT_TRUE(screen.placeholder());
    EXPECT_EQ(screen.placeholder()->title, "No Downloads");
    EXPECT_EQ(shown() + summary() + "/" + toolbar(), "/(Cancel All) (Clear Finished) Filter downloads ");

    const ConstDownloadPointer first = enqueue("first", 5);
    const ConstDownloadPointer second = enqueue("second");
    enqueue("third");
    enqueue("fourth");
    EXPECT_FALSE(screen.placeholder());
    EXPECT_EQ(shown(), "[Active] second first [Queued — 2 waiting] fourth third ");
    EXPECT_EQ(toolbar(), "Pause All Cancel All (Clear Finished) Filter downloads ");
    world.loop.advance(2s);
    EXPECT_EQ(summary(),
              "arrow.down.circle.fill 2 active, clock 2 queued, speedometer 300 bytes/s, clock 11s,  12% done");

    screen.perform(DownloadAction::pause, second->id);
    world.loop.advance(4s);
    EXPECT_EQ(shown(), "[Active] fourth third [Paused] second [Finished] first ");
    EXPECT_EQ(toolbar(), "Pause All Resume All Cancel All Clear Finished Filter downloads ");
    screen.perform(QueueAction::clearFinished);
    screen.perform(QueueAction::cancelAll);
    world.loop.advance(1s);
    EXPECT_EQ(shown(), "[Finished] fourth third second ");
    EXPECT_EQ(summary() + toolbar(), "(Cancel All) Clear Finished Filter downloads ");
    screen.perform(QueueAction::clearFinished);
    world.loop.advance(1s);
    EXPECT_TRUE(screen.placeholder());
}

TEST_F(Downloads, saysThatTheQueueCannotBeSavedUntilItCan) {
    EXPECT_FALSE(screen.banner());
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."});
    world.manager().pauseAll();
    world.loop.advance(1s);
    ASSERT_TRUE(screen.banner());
    EXPECT_EQ(screen.banner()->text, "The queue cannot be saved. The disk is full.");
    changes.clear();
    screen.retrySaving();
    world.loop.advance(1s);
    EXPECT_FALSE(screen.banner());
    EXPECT_EQ(told(Kind::chrome), 1U);
}

TEST_F(Downloads, tellsNumbersAFewTimesASecondAndOnlyOnView) {
    const ConstDownloadPointer first = enqueue("first", 60);
    enqueue("second", 60);
    world.loop.advance(5s);
    changes.clear();
    world.loop.advance(10s);  // 400 reports
    EXPECT_LE(told(Kind::changed), 82U);
    EXPECT_GE(told(Kind::changed), 60U);
    EXPECT_LE(told(Kind::chrome), 41U);
    EXPECT_EQ(changes.size(), told(Kind::changed) + told(Kind::chrome));
    EXPECT_NE(statusOf(first).find(" bytes / 1 KB · "), std::string::npos) << statusOf(first);

    screen.disappear();
    changes.clear();
    world.loop.advance(10s);
    EXPECT_EQ(changes.size(), 0U);
    const std::string before = summary();
    screen.appear();
    EXPECT_EQ(changes.front(), (ScreenChange{Kind::changed, 1, 2}));  // both were out of date
    EXPECT_EQ(changes.back().kind, Kind::chrome);
    EXPECT_NE(summary(), before);
}

TEST_F(Downloads, saysUntilWhenTheTimetableHoldsAllAndTurnsItOff) {
    const Subscription holding = speed.onChange([this] { world.manager().holdAll(speed.holdReason()); });
    world.clock.set(std::chrono::sys_days(std::chrono::year(2026) / 6 / 1) + 10h);
    const ConstDownloadPointer item = enqueue("runs");
    world.loop.advance(2s);
    EXPECT_EQ(screen.speedSwitch(), (SpeedSwitch{"Limit speed", "Limit Speed", false}));
    world.preferences.assign(preference::speedTimetable, SpeedTimetable::parse("mon 08:00-18:00 hold").value());
    changes.clear();
    screen.limitSpeed(true);
    world.loop.advance(2s);
    EXPECT_EQ(statusOf(item), "Held until 18:00 · 1 KB");
    EXPECT_EQ(screen.speedSwitch(), (SpeedSwitch{"Held until 18:00", "Limit Speed (Held until 18:00)", true}));
    EXPECT_GT(told(Kind::chrome), 0U);
    screen.limitSpeed(false);
    world.loop.advance(1s);
    EXPECT_EQ(item->status, Status::downloading);

    world.preferences.assign(preference::speedTimetable, SpeedTimetable());
    screen.limitSpeed(true);
    EXPECT_EQ(screen.speedSwitch().text, "Limit 2 MB/s");
    world.preferences.assign(preference::speedLimit, BytesPerSecond());
    EXPECT_EQ(screen.speedSwitch().text, "No limit");
}

TEST_F(Downloads, keepsTheTimesUpToDate) {
    const ConstDownloadPointer item = enqueue("first", 1);
    ASSERT_TRUE(world.runUntil(item, Status::completed));
    world.loop.advance(2s);
    EXPECT_EQ(statusOf(item), "1 KB · 2 sec ago");
    changes.clear();
    world.loop.advance(10s);
    EXPECT_EQ(told(Kind::changed), 10U);
    world.loop.advance(1min);
    changes.clear();
    world.loop.advance(10min);
    EXPECT_EQ(told(Kind::changed), 10U);
    EXPECT_EQ(statusOf(item), "1 KB · 11 min ago");
    screen.disappear();
    EXPECT_TRUE(world.loop.runUntil([this] { return world.loop.isIdle(); }));  // and nothing wakes any more
}

TEST_F(Downloads, doesWhatIsAskedOfARow) {
    const ConstDownloadPointer item = enqueue("item", 4);
    const auto act = [&](DownloadAction action, const ConstDownloadPointer& target) {
        screen.perform(action, target->id);
        world.loop.advance(100ms);
        return World::outcome(target);
    };
    world.loop.advance(1s);
    EXPECT_EQ(act(DownloadAction::pause, item), "paused");
    EXPECT_EQ(act(DownloadAction::resume, item), "downloading");
    EXPECT_EQ(act(DownloadAction::cancel, item), "cancelled");
    EXPECT_EQ(act(DownloadAction::retry, item), "downloading");
    screen.activate(item->id);  // nothing to open yet
    world.refusals[item->fileID] = 1;
    changeable(item).deleteAfterDownload = true;
    ASSERT_TRUE(world.runUntil(item, Status::remoteDeleteFailed));
    world.loop.runUntilIdle();
    EXPECT_EQ(shown(), "[Finished] item ");
    screen.perform(DownloadAction::reveal, item->id);
    screen.activate(item->id);
    EXPECT_EQ(workspace.revealedFiles, std::vector{World::downloads / "item"});
    EXPECT_EQ(workspace.openedFiles, std::vector{World::downloads / "item"});
    EXPECT_EQ(act(DownloadAction::retryDelete, item), "completed");

    enqueue("a");
    enqueue("b");
    const ConstDownloadPointer c = enqueue("c");
    const ConstDownloadPointer d = enqueue("d");
    EXPECT_EQ(shown(), "[Active] b a [Queued — 2 waiting] d c [Finished] item ");
    act(DownloadAction::moveUp, c);
    EXPECT_EQ(shown(), "[Active] b a [Queued — 2 waiting] c d [Finished] item ");
    act(DownloadAction::moveDown, c);
    EXPECT_EQ(shown(), "[Active] b a [Queued — 2 waiting] d c [Finished] item ");
    act(DownloadAction::moveToTop, c);
    EXPECT_EQ(shown(), "[Active] b a [Queued — 2 waiting] c d [Finished] item ");
    act(DownloadAction::remove, item);
    EXPECT_EQ(shown(), "[Active] b a [Queued — 2 waiting] c d ");
}

TEST_F(Downloads, keepsTheOrderOfSeveralThatAreMovedTogether) {
    const ConstDownloadPointer running = enqueue("running");
    const ConstDownloadPointer last = enqueue("last");
    const ConstDownloadPointer middle = enqueue("middle");
    const ConstDownloadPointer top = enqueue("top");
    const auto move = [&](DownloadAction action, const std::vector<UUID>& ids) {
        screen.perform(action, ids);
        world.loop.runUntilIdle();
    };
    EXPECT_EQ(shown(), "[Active] last running [Queued — 2 waiting] top middle ");
    move(DownloadAction::moveUp, {middle->id, top->id});  // at the top of the queue
    EXPECT_EQ(shown(), "[Active] last running [Queued — 2 waiting] top middle ");
    for (int i = 0; i < 3; ++i) move(DownloadAction::moveDown, {top->id, middle->id});
    EXPECT_EQ(shown(), "[Active] last running [Queued — 2 waiting] top middle ");
    EXPECT_GT(top->position, running->position);
    move(DownloadAction::moveUp, {top->id, middle->id});
    EXPECT_LT(middle->position, running->position);
    EXPECT_EQ(shown(), "[Active] last running [Queued — 2 waiting] top middle ");
}

// A menu may stand open while its download goes on.
TEST_F(Downloads, ignoresAnActionWhoseTimeIsOver) {
    const ConstDownloadPointer item = enqueue("item", 1);
    screen.perform(DownloadAction::retry, item->id);
    screen.perform(DownloadAction::open, item->id);
    EXPECT_EQ(World::outcome(item), "downloading");
    ASSERT_TRUE(world.runUntil(item, Status::completed));
    screen.perform(DownloadAction::cancel, item->id);
    EXPECT_EQ(World::outcome(item), "completed");
    screen.perform(DownloadAction::remove, item->id);
    screen.perform(DownloadAction::remove, item->id);
    screen.activate(item->id);
    EXPECT_TRUE(workspace.openedFiles.empty());
}

}  // namespace
}  // namespace tovri::test
