#include <QHelpEvent>
#include <QLineEdit>
#include <QScrollBar>
#include <QTest>
#include <QToolButton>
#include <QToolTip>

#include <gtest/gtest.h>

#include "tests/widgets/downloads/DownloadsViewFixture.h"
#include "widgets/parts/bars/BannerView.h"

namespace tovri::test {
namespace {

TEST_F(DownloadsViewTest, aQueueThatCannotBeSavedIsSeenAndTriedAgain) {
    world.files.failNext("writeFileAtomically", World::queueFile, {ErrorCase::file, "The disk is full."});
    world.manager().pauseAll();
    pass(1s);
    const auto* const banner = view.findChild<BannerView*>();
    ASSERT_TRUE(banner && banner->isVisible());
    QTest::mouseClick(banner->findChild<QToolButton*>(), Qt::LeftButton);
    pass(1s);
    EXPECT_FALSE(banner->isVisible());
}

TEST_F(DownloadsViewTest, aDownloadIsLedThroughAllItsStatesByItsButtons) {
    EXPECT_TRUE(showsPlaceholder());
    const ConstDownloadPointer item = enqueue("film", 4);
    EXPECT_FALSE(showsPlaceholder());
    pass(1s);
    EXPECT_EQ(row(item), "film | 240 bytes / 1 KB · 234 bytes/s · 3s left [Pause] [Cancel]");
    EXPECT_EQ(menu(item), "Pause|Cancel|-|Remove");
    press(item, "Pause");
    EXPECT_EQ(row(item), "film | 240 bytes / 1 KB · Paused 24% [Resume] [Cancel]");
    EXPECT_EQ(menu(item), "Resume|Cancel|-|Remove");
    EXPECT_EQ(rows(), "[Paused] film");
    press(item, "Resume");
    EXPECT_EQ(rows(), "[Active] film");
    press(item, "Cancel");
    EXPECT_EQ(row(item), "film | Cancelled");
    EXPECT_EQ(menu(item), "Retry|-|Remove");
    choose(item, "Retry");

    world.refusals[item->fileID] = 1;
    changeable(item).deleteAfterDownload = true;
    passUntil(item, Status::deleting);
    EXPECT_EQ(rows() + ": " + row(item), "[Active] film: film | Removing from put.io...");
    EXPECT_EQ(menu(item), "-|Remove");
    passUntil(item, Status::remoteDeleteFailed);
    EXPECT_EQ(row(item),
              "film | Downloaded — couldn't delete from put.io [Retry deleting from put.io] [Show in Folder]");
    EXPECT_EQ(menu(item), "Retry Delete from put.io|Show in Folder|Open|-|Remove");
    choose(item, "Open");
    press(item, "Retry deleting from put.io");
    EXPECT_EQ(row(item), "film | 1 KB · 0 sec ago [Show in Folder]");
    press(item, "Show in Folder");
    QTest::keyClick(&list(), Qt::Key_Return);
    EXPECT_EQ(workspace.revealedFiles, std::vector{World::downloads / "film"});
    EXPECT_EQ(workspace.openedFiles, std::vector(2, World::downloads / "film"));
    EXPECT_EQ(menu(item), "Show in Folder|Open|-|Remove");
    choose(item, "Remove");
    EXPECT_TRUE(showsPlaceholder());
}

TEST_F(DownloadsViewTest, aDownloadThatWaitsIsMovedAndCancelled) {
    enqueue("running");
    const ConstDownloadPointer low = enqueue("low");
    enqueue("high");
    EXPECT_EQ(row(low), "low | Queued · 1 KB [Move to top of queue] [Cancel]");
    EXPECT_EQ(menu(low), "Move to Top|Move Up|Move Down|-|Cancel|-|Remove");
    EXPECT_EQ(rows(), "[Active] running [Queued — 2 waiting] high low");
    press(low, "Move to top of queue");
    EXPECT_EQ(rows(), "[Active] running [Queued — 2 waiting] low high");
    choose(low, "Move Down");
    EXPECT_EQ(rows(), "[Active] running [Queued — 2 waiting] high low");
    choose(low, "Move Up");
    press(low, "Cancel");
    EXPECT_EQ(rows(), "[Active] running [Queued — 1 waiting] high [Finished] low");
}

TEST_F(DownloadsViewTest, whatFailedWaitsOrWasSkippedSaysSo) {
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    world.files.put(World::downloads / "taken", "old");
    const ConstDownloadPointer taken = enqueue("taken", 1);
    passUntil(taken, Status::awaitingConflict);
    EXPECT_EQ(row(taken), "taken | Waiting — file already exists [Cancel]");
    EXPECT_EQ(menu(taken), "Cancel|-|Remove");
    EXPECT_EQ(summary(), "1 active");
    world.manager().resolveConflict(ConflictChoice::skip, false);
    pass(100ms);
    EXPECT_EQ(row(taken), "taken | Skipped [Retry] [Remove]");
    EXPECT_EQ(menu(taken), "Retry|-|Remove");
    EXPECT_EQ(summary(), "");

    const FileID file = world.addFile("lost", "content");
    world.link(file).status = 404;
    const ConstDownloadPointer lost = world.enqueue(file);
    passUntil(lost, Status::failed);
    EXPECT_EQ(row(lost), "lost | HTTP error 404 from put.io. [Retry] [Remove]");
    EXPECT_EQ(menu(lost), "Retry|-|Remove");
    world.link(file).status = 200;
    press(lost, "Retry");
    passUntil(lost, Status::completed);
    press(taken, "Remove");
    EXPECT_EQ(rows(), "[Finished] lost");
}

TEST_F(DownloadsViewTest, theToolbarIsForTheWholeQueue) {
    EXPECT_EQ(toolbar(), "(Cancel All) (Clear Finished)");
    enqueue("a");
    enqueue("b");
    enqueue("c");
    pass(1s);
    EXPECT_EQ(rows(), "[Active] a [Queued — 2 waiting] c b");
    EXPECT_EQ(summary(), "1 active, 2 queued, 94 bytes/s, 31s, 2% done");
    EXPECT_EQ(toolbar(), "Pause All Cancel All (Clear Finished)");
    pressInToolbar("Pause All");
    EXPECT_EQ(rows(), "[Paused] c b a");
    pressInToolbar("Resume All");
    EXPECT_EQ(toolbar(), "Pause All Cancel All (Clear Finished)");
    pressInToolbar("Cancel All");
    EXPECT_EQ(rows(), "[Finished] c b a");
    EXPECT_EQ(toolbar(), "(Cancel All) Clear Finished");
    pressInToolbar("Clear Finished");
    EXPECT_TRUE(showsPlaceholder());
}

TEST_F(DownloadsViewTest, isFilteredAndLeadsToWhatFailed) {
    enqueue("alpha", 60);
    enqueue("beta", 60);
    const FileID file = world.addFile("Alpha lost", "content");
    world.link(file).status = 404;
    const ConstDownloadPointer lost = world.enqueue(file);
    world.manager().moveToTop(lost);
    world.manager().cancel(world.manager().downloads().withStatus(Status::downloading));
    passUntil(lost, Status::failed);
    auto* search = view.findChild<QLineEdit*>();
    QTest::keyClicks(search, "ALPHA");
    pass(0s);
    EXPECT_EQ(rows(), "[Finished] Alpha lost alpha");
    enqueue("alpha two", 60);
    enqueue("gamma", 60);
    EXPECT_EQ(rows(), "[Queued — 1 waiting] alpha two [Finished] Alpha lost alpha");
    QTest::keyClicks(search, " nothing");
    pass(0s);
    EXPECT_TRUE(showsPlaceholder());
    ASSERT_TRUE(test::press(view, "Clear Filter"));
    pass(0s);
    EXPECT_EQ(search->text(), "");
    pressInToolbar("Show Failed");
    EXPECT_EQ(list().selectedRows(), std::vector{rowOf(lost)});
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(menuOfSelection(), "Retry|-|Remove");
    pressInToolbar("Retry Failed");
    EXPECT_EQ(lost->status, Status::queued);
    EXPECT_EQ(seenButton(view, "Retry Failed"), nullptr);
}

// Also where the first click makes another tool come or go.
TEST_F(DownloadsViewTest, noToolMovesUnderAHandThatClicksTwice) {
    enqueue("a");
    enqueue("b");
    const QPoint cancelAll = placeInToolbar("Cancel All");
    pressInToolbar("Pause All");
    EXPECT_EQ(rows(), "[Paused] b a");
    EXPECT_EQ(placeInToolbar("Cancel All"), cancelAll);
    doubleClick(placeInToolbar("Resume All"));
    EXPECT_EQ(rows(), "[Active] b [Queued — 1 waiting] a");
    doubleClick(placeInToolbar("Pause All"));
    EXPECT_EQ(rows(), "[Paused] b a");
    EXPECT_EQ(placeInToolbar("Cancel All"), cancelAll);
}

TEST_F(DownloadsViewTest, aQuickSecondClickLeavesTheNextRowAlone) {
    const ConstDownloadPointer running = enqueue("a", 60);
    const ConstDownloadPointer next = enqueue("b", 60);
    enqueue("c", 60);
    doubleClick(placeOf(running, 1));  // "Cancel": another one runs in its place then
    EXPECT_EQ(rows(), "[Active] c [Queued — 1 waiting] b [Finished] a");
    doubleClick(placeOf(next, 0));  // "Move to top of queue", where it is already
    EXPECT_EQ(rows(), "[Active] c [Queued — 1 waiting] b [Finished] a");
    enqueue("d", 60);
    doubleClick(placeOf(next, 0));  // now another row is there
    EXPECT_EQ(rows(), "[Active] c [Queued — 2 waiting] b d [Finished] a");
    doubleClick(placeOf(next, 1));
    EXPECT_EQ(rows(), "[Active] c [Queued — 1 waiting] d [Finished] b a");
    const ConstDownloadPointer lowest = world.manager().downloads().items().back();
    list().scrollToBottom();
    test::doubleClick(view, list().viewport()->mapTo(&view, list().visualRect(list().rows()->index(0)).center()), [&] {
        screen.perform(DownloadAction::remove, lowest->id);
        pass(140ms);
    });
    EXPECT_EQ(workspace.openedFiles.size(), 0U);
}

TEST_F(DownloadsViewTest, severalRowsAreActedOnTogether) {
    enqueue("a");
    const ConstDownloadPointer lowest = enqueue("b");
    const ConstDownloadPointer low = enqueue("c");
    enqueue("d");
    enqueue("e");
    list().setCurrentIndex(list().rows()->index(rowOf(low)));
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(menuOfSelection("Move to Top"), "Move to Top|Move Up|Move Down|-|Cancel|-|Remove");
    EXPECT_EQ(rows(), "[Active] a [Queued — 4 waiting] c b e d");
    EXPECT_EQ(list().selectedRows(), (std::vector{rowOf(low), rowOf(lowest)}));

    QTest::keyClick(&list(), Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(menuOfSelection("Cancel"), "Cancel|-|Remove");
    EXPECT_EQ(rows(), "[Finished] c b e d a");
    EXPECT_TRUE(world.storage.running == 0 && world.storage.started.size() == 1) << "none took another's slot";
    EXPECT_EQ(menuOfSelection(), "Retry|-|Remove");
    view.activateWindow();
    list().setFocus();
    settle();
    list().selectionModel()->setCurrentIndex(list().rows()->index(rowOf(lowest)), QItemSelectionModel::ClearAndSelect);
    QTest::keyClick(&list(), Qt::Key_Delete);
    pass(0s);
    EXPECT_EQ(rows(), "[Finished] c e d a");
    QTest::keyClick(&list(), Qt::Key_Delete);  // the next one is selected now
    pass(0s);
    EXPECT_EQ(rows(), "[Finished] c d a");
}

TEST_F(DownloadsViewTest, whatIsSeenAndSelectedStaysWhileTheQueueGoesOn) {
    for (int i = 0; i < 40; ++i) enqueue("file " + std::to_string(i), 1);
    QTest::keyClicks(&list(), QStringLiteral("file 20"));
    const QPersistentModelIndex selected = list().currentIndex();
    list().scrollTo(selected, QAbstractItemView::PositionAtCenter);
    settle();
    const int top = list().visualRect(selected).top();
    ASSERT_GT(list().verticalScrollBar()->value(), 0);
    pass(5s);  // five more are done and stand far below now
    EXPECT_EQ(list().visualRect(selected).top(), top);
    const QPersistentModelIndex first = list().indexAt({100, measures::headerHeight + 1});
    const int topOfFirst = list().visualRect(first).top();
    world.manager().pauseAll();
    pass(100ms);  // all are in another section, and higher
    EXPECT_EQ(list().visualRect(first).top(), topOfFirst);
    EXPECT_EQ(selected.data().toString(), "file 20");
    EXPECT_EQ(list().selectedRows(), std::vector{selected.row()});
}

// A hidden screen costs nothing, and is right when it comes back.
TEST_F(DownloadsViewTest, followsTheNumbersOnlyWhileItIsSeen) {
    const ConstDownloadPointer item = enqueue("film", 100);
    pass(1s);
    view.hide();
    const std::string before = summary();
    pass(10s);
    view.show();
    pass(0s);
    EXPECT_TRUE(row(item).starts_with("film | 109 bytes / 1 KB")) << row(item);
    EXPECT_NE(summary(), before);
}

// Also for people to look at, where they ask for pictures.
TEST_F(DownloadsViewTest, showsARealisticQueue) {
    view.resize(720, 560);
    takePictures(view, "downloads-empty");
    world.preferences.setMaxConcurrentDownloads(4);
    world.preferences.setConflictBehavior(ConflictBehavior::ask);
    const ConstDownloadPointer done = enqueueLarge("Big Buck Bunny (2008) 1080p.mkv", 4);
    world
        .link(enqueueLarge(
                  "A name that is so long that no window of a usual width can have room for it, nor for the half of "
                  "it, and which goes on all the same.tar.gz",
                  3)
                  ->fileID)
        .status = 404;
    const ConstDownloadPointer kept = enqueueLarge("Album.flac", 2);
    world.refusals[kept->fileID] = 1;
    changeable(kept).deleteAfterDownload = true;
    const ConstDownloadPointer cancelled = enqueueLarge("Notes.txt", 1);
    pass(300ms);
    screen.perform(DownloadAction::cancel, cancelled->id);
    passUntil(done, Status::completed);
    pass(3min);
    world.files.put(World::downloads / "Holiday photographs.zip", "old");
    const ConstDownloadPointer taken = enqueueLarge("Holiday photographs.zip", 1);
    passUntil(taken, Status::awaitingConflict);
    const ConstDownloadPointer paused = enqueueLarge("Sintel.2010.2160p.mkv", 20);
    enqueueLarge("ubuntu-24.04-desktop-amd64.iso", 32);
    enqueueLarge("Tears of Steel.mkv", 24);
    pass(8s);
    screen.perform(DownloadAction::pause, paused->id);
    enqueueLarge("Cosmos Laundromat.mkv", 16);
    for (const char* name : {"Spring.mkv", "Charge.mkv"}) enqueueLarge(name, 12);
    pass(2s);
    takePictures(view, "downloads");
    list().scrollToBottom();
    takePictures(view, "downloads-finished");
    // What is cut off is said by its tooltip.
    const QModelIndex failed = list().rows()->index(list().rows()->rowCount() - 2);
    const QPoint place = list().visualRect(failed).center();
    QHelpEvent event(QEvent::ToolTip, place, list().viewport()->mapToGlobal(place));
    QApplication::sendEvent(list().viewport(), &event);
    EXPECT_EQ(QToolTip::text(), failed.data().toString());
}

}  // namespace
}  // namespace tovri::test
