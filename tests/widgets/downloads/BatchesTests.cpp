#include <QAccessible>
#include <QLineEdit>

#include "tests/widgets/downloads/DownloadsViewFixture.h"

namespace tovri::test {
namespace {

// Downloads that were queued together, as their view shows them.
class BatchesTest : public DownloadsViewTest {
public:
    // On top of the queue, the last one uppermost.
    std::vector<ConstDownloadPointer> enqueueBatch(const std::vector<std::string>& names) {
        std::vector<ConstDownloadPointer> items;
        const UUID batch = world.manager().newBatchID();
        for (const std::string& name : names) {
            const FileID file = world.addFile(name, std::string(1000, '.'));
            world.link(file).rate = 10;
            items.push_back(world.enqueue(file, {.batchID = batch}));
        }
        pass(0s);
        return items;
    }

    void command(SectionCommand command) {
        view.perform(command);
        pass(0s);
    }

    void key(Qt::Key key) {
        QTest::keyClick(&list(), key);
        pass(0s);
    }

    void goTo(int row) { list().setCurrentIndex(list().rows()->index(row)); }

    [[nodiscard]] QPoint signAt(int row) const {
        const QRect rect = list().visualRect(list().rows()->index(row));
        return list().viewport()->mapTo(&view, QPoint(rect.left() + 7, rect.center().y()));
    }

    [[nodiscard]] QAccessible::State accessibleState(int row) const {
        return QAccessible::queryAccessibleInterface(&list())->child(row)->state();
    }
};

TEST_F(BatchesTest, openInPlaceByKeyAndPointerAndKeepTheSelection) {
    enqueue("running", 100);
    enqueueBatch({"a", "b", "c"});
    enqueue("alone");
    EXPECT_EQ(rows(), "[Active] running [Queued — 4 waiting] alone c b a");
    command(SectionCommand::showBatches);
    const std::string closed = "[Active] running [Queued — 4 waiting] alone c and 2 more";
    const std::string open = closed + " c b a";
    EXPECT_EQ(rows(), closed);
    EXPECT_TRUE(view.isOn(SectionCommand::showBatches) && desktop.showsBatches());
    EXPECT_TRUE(accessibleState(4).collapsed);

    goTo(4);
    key(Qt::Key_Right);
    EXPECT_EQ(rows(), open);
    EXPECT_TRUE(accessibleState(4).expanded && !accessibleState(3).expandable);
    EXPECT_EQ(list().selectedRows(), std::vector{4});
    goTo(6);
    key(Qt::Key_Left);  // to the batch, then closed
    EXPECT_EQ(list().currentIndex().row(), 4);
    key(Qt::Key_Left);
    EXPECT_EQ(rows(), closed);
    key(Qt::Key_Return);
    EXPECT_EQ(rows(), open);

    goTo(7);
    QTest::keyClick(&list(), Qt::Key_Up, Qt::ShiftModifier);
    doubleClick(signAt(4));  // the second press does not open it again
    EXPECT_EQ(rows(), closed);
    EXPECT_EQ(list().selectedRows(), std::vector{4});
    EXPECT_EQ(list().currentIndex().row(), 4);
    QTest::keyClicks(view.findChild<QLineEdit*>(), "b");
    pass(0s);
    EXPECT_EQ(rows(), "[Queued — 1 waiting] b");
    command(SectionCommand::showBatches);
    screen.search("");
    pass(0s);
    EXPECT_EQ(rows(), "[Active] running [Queued — 4 waiting] alone c b a");
}

TEST_F(BatchesTest, areActedOnInTheirSectionAloneAndComeBackWhole) {
    enqueue("running", 100);
    world.preferences.setMaxConcurrentDownloads(2);
    const std::vector<ConstDownloadPointer> items = enqueueBatch({"a", "b", "c"});
    enqueue("below", 100);
    command(SectionCommand::showBatches);
    EXPECT_EQ(rows(), "[Active] a running [Queued — 3 waiting] below c and 1 more");
    pass(1s);
    screen.perform(DownloadAction::pause, items.front()->id);
    pass(1s);
    const std::string before = rows();
    EXPECT_EQ(before, "[Active] below running [Paused] a [Queued — 2 waiting] c and 1 more");
    EXPECT_EQ(seenMenu(view, 6).join("|").toStdString(), "Move to Top|Move Up|Move Down|-|Cancel|-|Remove");
    EXPECT_TRUE(pressInRow(view, 6, "Cancel"));
    pass(100ms);
    EXPECT_EQ(rows(), "[Active] below running [Paused] a [Finished] c and 1 more");
    world.manager().takeBack();
    pass(100ms);
    EXPECT_EQ(rows(), before);
    view.activateWindow();
    list().setFocus();
    settle();
    goTo(6);
    key(Qt::Key_Right);
    QTest::keyClick(&list(), Qt::Key_Down, Qt::ShiftModifier);
    key(Qt::Key_Delete);  // batch and item are selected both
    EXPECT_EQ(rows(), "[Active] below running [Paused] a");
    EXPECT_EQ(world.manager().takenOut().items.size(), 2U);
}

TEST_F(BatchesTest, theFinishedAreShownInAnOrderOfTheirOwn) {
    const auto finish = [this](const std::string& name, int seconds) {
        const ConstDownloadPointer item = enqueue(name, seconds);
        passUntil(item, Status::completed);
        pass(1s);
        return item;
    };
    finish("Beta", 2);
    const ConstDownloadPointer gamma = finish("gamma", 1);
    finish("alpha", 1);
    world.manager().cancel(enqueue("delta", 50));
    pass(0s);
    EXPECT_EQ(rows(), "[Finished] delta alpha gamma Beta");
    const QPoint header = list().visualRect(list().rows()->index(0)).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, header, list().viewport()->mapToGlobal(header));
    QApplication::sendEvent(list().viewport(), &event);
    auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_NE(menu, nullptr);
    EXPECT_TRUE(menu->actions().front()->isChecked());
    menu->actions().at(2)->trigger();  // by name
    menu->close();
    pass(0s);
    EXPECT_EQ(rows(), "[Finished] alpha Beta delta gamma");
    EXPECT_TRUE(view.isOn(SectionCommand::orderByName) && !view.isOn(SectionCommand::orderAsQueue));
    command(SectionCommand::orderByState);
    EXPECT_EQ(rows(), "[Finished] delta alpha gamma Beta");
    command(SectionCommand::orderByTime);
    world.manager().retry(gamma);
    passUntil(gamma, Status::completed);
    EXPECT_EQ(rows(), "[Finished] gamma (1) delta alpha Beta");
    EXPECT_EQ(DesktopPreferences(defaults).finishedOrder(), FinishedOrder::time);
    command(SectionCommand::orderAsQueue);
    EXPECT_EQ(rows(), "[Finished] delta alpha gamma (1) Beta");
}

}  // namespace
}  // namespace tovri::test
