#include <string>

#include <gtest/gtest.h>

#include "downloads/World.h"
#include "screens/files/FileBrowserFixture.h"
#include "screens/window/ClosingQuestion.h"
#include "screens/window/ContentScreen.h"
#include "screens/window/TrayMenu.h"
#include "support/FakeEntryLook.h"

namespace tovri::test {
namespace {

using Change = ContentScreen::Change;
using Status = DownloadStatus;
using namespace std::chrono_literals;

class Window : public FileBrowserFixture {
public:
    Window() { world.preferences.setConflictBehavior(ConflictBehavior::ask); }

    // A file whose name is taken, received.
    ConstDownloadPointer conflicting(const std::string& name) {
        world.files.put(World::downloads / name, "old");
        const ConstDownloadPointer item = world.enqueue(world.addFile(name, "new"));
        EXPECT_TRUE(world.runUntil(item, Status::awaitingConflict));
        world.loop.runUntilIdle();
        return item;
    }

    [[nodiscard]] std::string sheet() const { return window.conflictSheet() ? window.conflictSheet()->message : ""; }

    [[nodiscard]] std::size_t told(Change change) const {
        return static_cast<std::size_t>(std::ranges::count(changes, change));
    }

    World world;
    SpeedLimit limit{world.loop};
    SpeedControl speed{world.loop, world.clock, world.preferences, limit};
    FakeEntryLook entries{world.files};
    ContentScreen window{auth, world.manager(), state, {world.loop, world.volumes, entries, world.clock}};
    std::vector<Change> changes;
    Subscription following{window.onChange([this](Change change) { changes.push_back(change); })};
};

TEST_F(Window, keepsTheSelectionWhileNobodyIsSignedIn) {
    EXPECT_EQ(window.windowTitle(), "Files");
    window.selectByDigit(4);
    EXPECT_EQ(window.windowTitle(), "Automate");
    window.selectByDigit(0);
    window.selectByDigit(6);
    EXPECT_EQ(changes, std::vector{Change::selection});

    auth.signOut();
    EXPECT_FALSE(window.showsSections());
    EXPECT_EQ(window.windowTitle(), "Tovri");
    window.selectByDigit(1);
    EXPECT_TRUE(auth.signInWithToken("another"));
    EXPECT_EQ(window.selectedItem(), SidebarItem::sync);
    EXPECT_EQ(changes, (std::vector{Change::selection, Change::content, Change::content}));

    EXPECT_FALSE(window.placeholder());
    window.select(std::nullopt);
    EXPECT_EQ(window.placeholder()->title, "Select a section");
    EXPECT_EQ(window.windowTitle(), "Tovri");
}

TEST_F(Window, badgesTheDownloadsThatAreUnderWay) {
    EXPECT_EQ(window.badge(SidebarItem::downloads), "");
    conflicting("taken");
    const ConstDownloadPointer slow = world.enqueue(world.addFile("slow", std::string(1000, '.')));
    world.link(slow->fileID).rate = 100;
    world.loop.advance(5s);
    changes.clear();
    world.loop.advance(1s);  // progress alone
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(window.badge(SidebarItem::downloads), "2");
    EXPECT_EQ(window.badge(SidebarItem::files), "");
    world.manager().cancelAll();
    EXPECT_EQ(window.badge(SidebarItem::downloads), "");
    EXPECT_EQ(told(Change::badge), 2U);
}

TEST_F(Window, countsTheUploads) {
    http.actsAtOnce = false;
    std::vector<std::string> seen;
    const Subscription watching = window.onChange([&](Change change) {
        if (change == Change::uploads) seen.push_back(window.uploadPanel() ? window.uploadPanel()->count : "gone");
    });
    state.uploadFiles({"/home/user/a.txt", "/home/user/b.txt"}, rootFolderID);
    settle();
    EXPECT_EQ(seen, (std::vector<std::string>{"0/2", "1/2", "gone"}));
}

TEST_F(Window, asksAboutOneConflictAfterTheOther) {
    window.select(SidebarItem::rss);
    const ConstDownloadPointer first = conflicting("first");
    const ConstDownloadPointer second = conflicting("second");
    EXPECT_EQ(sheet(), "\"first\" already exists at this location.");
    EXPECT_EQ(window.conflictSheet()->existingPath, (World::downloads / "first").native());
    const UUID id = window.conflictSheet()->id;
    changes.clear();
    window.setApplyToAll(true);
    window.setApplyToAll(false);
    window.answer(id, ConflictChoice::replace);
    EXPECT_EQ(sheet(), "\"second\" already exists at this location.");
    EXPECT_EQ(told(Change::conflict), 3U);
    window.answer(id, ConflictChoice::replace);  // a second click on a sheet that is gone
    world.settle();
    EXPECT_EQ(World::outcome(first) + " " + World::outcome(second), "completed awaitingConflict");

    world.manager().cancel(second);
    EXPECT_EQ(sheet(), "");
    window.setApplyToAll(true);  // of no sheet
    conflicting("third");
    EXPECT_FALSE(window.conflictSheet()->applyToAll);
}

TEST_F(Window, tellsTheTwoFilesApartAndWaitsForNoVolume) {
    const std::string lane = "look " + World::downloads.native();
    world.volumes.hang(lane);
    (void)conflicting("taken");
    world.loop.advance(1s);
    EXPECT_EQ(window.conflictSheet()->existing, "…");
    EXPECT_EQ(window.conflictSheet()->arriving, "3 bytes · 4 Mar 2024, 10:22:00");
    world.volumes.goOn(lane);
    world.loop.advance(1s);
    EXPECT_EQ(window.conflictSheet()->existing, "3 bytes · 4 Mar 2024, 10:22:00");

    world.volumes.hang(lane);
    (void)conflicting("other");
    window.answer(window.conflictSheet()->id, ConflictChoice::skip);
    world.loop.advance(1s);
    (void)world.files.removeItem(World::downloads / "other");
    world.volumes.goOn(lane);
    world.loop.advance(1s);
    EXPECT_EQ(window.conflictSheet()->existing, "Not there");
    world.files.put(World::downloads / "folder/file", "");
    window.answer(window.conflictSheet()->id, ConflictChoice::skip);
    world.settle();
    (void)world.enqueue(world.addFile("folder", "new"));
    world.settle();
    EXPECT_EQ(window.conflictSheet()->existing, "Folder · 4 Mar 2024, 10:22:00");
}

TEST_F(Window, saysOfTheOnlyCopyThatItsOriginalIsGone) {
    world.enqueue(world.addFile("f", "only copy"), {.deleteAfterDownload = true});
    world.settle();
    const ConstDownloadPointer next = world.enqueue(world.addFile("f", "new"));
    EXPECT_TRUE(world.runUntil(next, Status::awaitingConflict));
    world.loop.runUntilIdle();
    EXPECT_EQ(sheet(), "\"f\" already exists at this location. Its original is no longer on put.io.");
    window.answer(window.conflictSheet()->id, ConflictChoice::replace);
    world.settle();
    EXPECT_EQ(world.tree(), "f=new");
}

TEST_F(Window, answersAllConflictsAtOnceIfAskedTo) {
    auth.signOut();  // conflicts are asked about even so
    const ConstDownloadPointer first = conflicting("first");
    const ConstDownloadPointer second = conflicting("second");
    window.setApplyToAll(true);
    window.answer(window.conflictSheet()->id, ConflictChoice::keepBoth);
    world.settle();
    EXPECT_EQ(sheet(), "");
    EXPECT_EQ(World::outcome(first) + " " + World::outcome(second), "completed completed");
    EXPECT_EQ(world.tree(), "first=old first (1)=new second=old second (1)=new");
}

TEST_F(Window, theTrayOffersWhatTheQueueCanDo) {
    const auto enabled = [this] {
        std::string titles;
        for (const MenuItem<TrayAction>& item : trayMenu(world.manager(), speed))
            if (!item.isSeparator() && item.isEnabled) titles += item.title + ". ";
        return titles;
    };
    EXPECT_EQ(enabled(), "Show Tovri. Limit Speed. Quit. ");
    EXPECT_EQ(trayText(world.manager()), "Tovri");
    const ConstDownloadPointer item = world.enqueue(world.addFile("slow", std::string(1000, '.')));
    world.link(item->fileID).rate = 100;
    world.loop.advance(5s);
    EXPECT_EQ(enabled(), "Show Tovri. Pause All. Limit Speed. Quit. ");
    EXPECT_EQ(trayText(world.manager()), "Tovri \xE2\x80\x93 1 download, 49%, 100 bytes/s");
    world.manager().pauseAll();
    world.loop.advance(1s);
    EXPECT_EQ(enabled(), "Show Tovri. Resume All. Limit Speed. Quit. ");
    speed.setOn(true);
    EXPECT_EQ(enabled(), "Show Tovri. Resume All. Limit Speed (2 MB/s). Quit. ");
}

TEST(ClosingStep, asksOnlyWhereNothingLeadsBackAndNothingWasAnswered) {
    test::MemoryUserDefaults defaults;
    EXPECT_EQ(closingStep(true, ClosedWindow::quits), ClosingStep::hide);
    EXPECT_EQ(closingStep(false, DesktopPreferences(defaults).closedWindow()), ClosingStep::ask);
    DesktopPreferences(defaults).setClosedWindow(ClosedWindow::runsOn);
    EXPECT_EQ(closingStep(false, DesktopPreferences(defaults).closedWindow()), ClosingStep::hide);
    DesktopPreferences(defaults).setClosedWindow(ClosedWindow::quits);
    EXPECT_EQ(closingStep(false, DesktopPreferences(defaults).closedWindow()), ClosingStep::quit);
}

}  // namespace
}  // namespace tovri::test
