#include <QAccessible>
#include <QContextMenuEvent>
#include <QProxyStyle>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>

#include <gtest/gtest.h>

#include "tests/widgets/RowListFixture.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Style.h"

namespace tovri {
namespace {

using Kind = ScreenChange::Kind;

struct RowListViewTest : RowListFixture {};

TEST_F(RowListViewTest, theMenuKeyIsForWhatIsSelectedAlsoWithoutACurrentRow) {
    const QSignalSpy wanted(&view, &RowListView::menuWanted);
    const auto pressMenuKey = [this] {
        const QPoint below = view.viewport()->rect().bottomLeft();
        QContextMenuEvent event(QContextMenuEvent::Keyboard, below, view.viewport()->mapToGlobal(below));
        QCoreApplication::sendEvent(view.viewport(), &event);
    };
    view.selectAll();
    view.selectionModel()->clearCurrentIndex();
    pressMenuKey();
    ASSERT_EQ(wanted.count(), 1);
    const QPoint place = view.viewport()->mapFromGlobal(wanted.front().front().toPoint());
    EXPECT_TRUE(view.visualRect(model.index(1)).contains(place));
    view.clearSelection();
    pressMenuKey();
    EXPECT_EQ(wanted.count(), 1);
}

TEST_F(RowListViewTest, isDimmedWhileNothingCanBeDone) {
    const auto darkness = [this](int row) {
        const QRect rect = view.visualRect(model.index(row));
        const QImage seen = view.viewport()->grab(rect).toImage();
        int darkest = 0;
        for (int y = 0; y < seen.height(); ++y)
            for (int x = 0; x < seen.width(); ++x) darkest = std::max(darkest, 255 - qGray(seen.pixel(x, y)));
        return darkest;
    };
    const int before = darkness(2);
    view.setInert(true);
    EXPECT_LT(darkness(2), before * 2 / 3);
    view.setInert(false);
    EXPECT_EQ(darkness(2), before);
}

TEST_F(RowListViewTest, staysWhereItIsWhenRowsAboveComeAndGo) {
    view.verticalScrollBar()->setValue(900);
    test::settle();
    const QPersistentModelIndex seen = view.indexAt({100, 200});
    const int before = view.visualRect(seen).top();
    source.rows.insert(source.rows.begin() + 5, 4, plainRow(200));
    for (std::size_t i = 0; i < 4; ++i) source.rows[5 + i].number = 200 + i;
    model.follow({Kind::inserted, 5, 4});
    test::settle();
    EXPECT_EQ(view.visualRect(seen).top(), before);
    source.rows.erase(source.rows.begin() + 1);
    model.follow({Kind::removed, 1, 1});
    test::settle();
    EXPECT_EQ(view.visualRect(seen).top(), before);
}

TEST_F(RowListViewTest, hasRoomForLargeFonts) {
    const auto heightOf = [&](int row) { return view.visualRect(model.index(row)).height(); };
    EXPECT_EQ(heightOf(1), measures::progressRowHeight);
    EXPECT_EQ(heightOf(5), measures::rowHeight);
    QFont large = view.font();
    large.setPointSize(24);
    view.setFont(large);
    const int texts = QFontMetrics(titleFont(large)).height() + QFontMetrics(captionFont(large)).height();
    EXPECT_GT(heightOf(5), texts);
    EXPECT_GT(heightOf(1), texts + measures::progressBar);
    EXPECT_EQ(topOf(6) - topOf(5), heightOf(5));
}

TEST_F(RowListViewTest, isNotTakenAlongByOneRowThatMoves) {
    view.verticalScrollBar()->setValue(measures::headerHeight + measures::progressRowHeight);
    test::settle();
    const QPersistentModelIndex first = view.indexAt({100, 40});
    const QPersistentModelIndex other = view.indexAt({100, 300});
    const int before = view.visualRect(other).top();
    const auto from = static_cast<std::size_t>(first.row());
    ListedRows::Row row = source.rows[from];
    source.rows.erase(source.rows.begin() + first.row());
    source.rows.push_back(row);
    model.follow({.kind = Kind::moved, .first = from, .count = 1, .to = source.rows.size() - 1});
    test::settle();
    EXPECT_EQ(view.visualRect(other).top(), before);
}

TEST_F(RowListViewTest, keysSkipHeadersAndReachTheButtons) {
    view.setCurrentIndex(model.index(3));
    QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(view.currentIndex().row(), 5);
    QTest::keyClick(&view, Qt::Key_Up);
    EXPECT_EQ(view.currentIndex().row(), 3);
    QSignalSpy pressed(&view, &RowListView::buttonPressed);
    QTest::keyClick(&view, Qt::Key_Tab);
    QTest::keyClick(&view, Qt::Key_Right);
    QTest::keyClick(&view, Qt::Key_Space);
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed[0][1].toInt(), 2);
    QTest::keyClick(&view, Qt::Key_Home);
    EXPECT_EQ(view.currentIndex().row(), 1);
    QTest::keyClick(&view, Qt::Key_End);
    EXPECT_EQ(view.currentIndex().row(), 61);
    QTest::keyClick(&view, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(view.selectedRows().size(), 60U);  // without the headers
    QTest::keyClicks(&view, QStringLiteral("row 12"));
    EXPECT_EQ(model.keyAt(view.currentIndex().row()).low, 12U);
}

TEST_F(RowListViewTest, aPressedButtonLeavesTheSelectionAlone) {
    for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        view.setLayoutDirection(direction);
        view.setCurrentIndex(model.index(2));
        QSignalSpy pressed(&view, &RowListView::buttonPressed);
        const QRect cancel = view.buttonRect(1, 1);
        EXPECT_EQ(cancel.center().x() > 250, direction == Qt::LeftToRight);
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, cancel.center());
        ASSERT_EQ(pressed.count(), 1);
        EXPECT_EQ(pressed[0][1].toInt(), 2);
        EXPECT_EQ(view.selectedRows(), std::vector<int>{2});
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, cancel.center());
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, cancel.center() + QPoint(0, 100));
        EXPECT_EQ(pressed.count(), 1);
    }
}

// Whatever the desktop's own views do at a click.
TEST_F(RowListViewTest, opensARowByReturnAndDoubleClickAlone) {
    class ClickingStyle final : public QProxyStyle {
    public:
        int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                      QStyleHintReturn* answer) const override {
            return hint == SH_ItemView_ActivateItemOnSingleClick ? 1
                                                                 : QProxyStyle::styleHint(hint, option, widget, answer);
        }
    };

    ClickingStyle style;
    view.setStyle(&style);
    QSignalSpy opened(&view, &RowListView::opened);
    const QPoint place = view.visualRect(model.index(2)).center();
    QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, place);
    QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ControlModifier, place);
    QTest::mouseClick(view.viewport(), Qt::RightButton, {}, place);
    EXPECT_EQ(opened.count(), 0);
    QTest::mouseDClick(view.viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(opened.count(), 1);
    QTest::keyClick(&view, Qt::Key_Return);
    EXPECT_EQ(opened.count(), 2);
    QKeyEvent held(QEvent::KeyPress, Qt::Key_Return, {}, QStringLiteral("\r"), true);
    QApplication::sendEvent(&view, &held);
    EXPECT_EQ(opened.count(), 2);
    view.setStyle(nullptr);
}

// As in a busy queue, where rows come and go while the pointer is down.
TEST_F(RowListViewTest, aButtonThatIsHeldStaysPressedWhileOtherRowsChange) {
    QSignalSpy pressed(&view, &RowListView::buttonPressed);
    const QPoint cancel = view.buttonRect(2, 1).center();
    const auto press = [&] { QTest::mousePress(view.viewport(), Qt::LeftButton, {}, cancel); };
    const auto release = [&] {
        test::settle();
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, cancel);
    };
    press();
    remove(30);
    release();
    ASSERT_EQ(pressed.count(), 1);
    EXPECT_EQ(pressed[0][0].toModelIndex().row(), 2);

    press();  // another row is there when it is let go
    const ListedRows::Row first = remove(1);
    release();
    EXPECT_EQ(pressed.count(), 1);
    insert(1, first);
    test::settle();

    press();  // the same row, which has another button there by then
    source.rows[2].content.buttons[1].action = 3;
    model.follow({Kind::changed, 2, 1});
    release();
    EXPECT_EQ(pressed.count(), 1);
}

TEST_F(RowListViewTest, readsOnlyWhatIsInSightAndDrawsOnlyWhatChanged) {
    source.rows.clear();
    for (std::uint64_t i = 0; i < 100'000; ++i) source.rows.push_back(plainRow(i + 1));
    model.follow({Kind::reset});
    source.contentsRead = 0;
    static_cast<void>(view.grab());
    EXPECT_LT(source.contentsRead, 40);
    // On a busy machine a repaint of another cause may fall into the same instant, but not each time.
    const auto fewestReads = [this](std::size_t row) {
        int fewest = 1000;
        for (int i = 0; i < 20 && fewest > 0; ++i) {
            test::settle();
            source.contentsRead = 0;
            model.follow({Kind::changed, row, 1});
            test::settle();
            fewest = std::min(fewest, source.contentsRead);
        }
        return fewest;
    };
    EXPECT_LE(fewestReads(3), 3);
    EXPECT_EQ(fewestReads(50'000), 0);
    view.scrollTo(model.index(99'999));
    EXPECT_LE(view.visualRect(model.index(99'999)).bottom(), view.viewport()->height());
}

TEST_F(RowListViewTest, isReadByAScreenReader) {
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&view);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(list->role(), QAccessible::List);
    EXPECT_EQ(list->childCount(), 62);
    EXPECT_EQ(list->child(0)->role(), QAccessible::Heading);
    QSignalSpy opened(&view, &RowListView::opened);
    list->child(0)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(opened.count(), 0);
    list->child(1)->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(opened.count(), 1);
    view.setCurrentIndex(model.index(2));
    QAccessibleInterface* row = list->child(2);
    EXPECT_EQ(row->text(QAccessible::Name), QStringLiteral("Row 2"));
    EXPECT_EQ(row->text(QAccessible::Description), QStringLiteral("400 MB / 1 GB · 2 MB/s"));
    EXPECT_TRUE(row->state().selected && !row->state().disabled);
    view.setInert(true);
    EXPECT_TRUE(row->state().disabled && row->child(1)->state().disabled);
    view.setInert(false);
    EXPECT_EQ(list->indexOfChild(row), 2);
    EXPECT_EQ(list->childAt(row->rect().center().x(), row->rect().center().y()), row);
    ASSERT_EQ(row->childCount(), 2);
    QAccessibleInterface* button = row->child(1);
    EXPECT_EQ(button->text(QAccessible::Name), QStringLiteral("Cancel"));
    EXPECT_EQ(button->parent(), row);
    QSignalSpy pressed(&view, &RowListView::buttonPressed);
    button->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(pressed.count(), 1);
    EXPECT_TRUE(row->state().focused);
    EXPECT_EQ(list->focusChild(), row);
    QTest::keyClick(&view, Qt::Key_Tab);
    QTest::keyClick(&view, Qt::Key_Tab);
    EXPECT_TRUE(button->state().focused && !row->state().focused);
    EXPECT_EQ(list->focusChild(), button);
    source.rows.erase(source.rows.begin() + 2);
    model.follow({Kind::removed, 2, 1});
    EXPECT_FALSE(row->isValid());
    EXPECT_EQ(list->child(2)->text(QAccessible::Name), QStringLiteral("Row 3"));
}

TEST_F(RowListViewTest, forgetsWhatAScreenReaderWasToldOfRowsThatWent) {
    QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&view);
    const QAccessible::Id first = QAccessible::uniqueId(list->child(1));
    for (std::uint64_t i = 0; i < 200; ++i) {
        remove(1);
        insert(1, plainRow(2000 + i));
        ASSERT_EQ(list->child(1)->text(QAccessible::Name), QStringLiteral("Row %1").arg(2000 + i));
    }
    EXPECT_EQ(QAccessible::accessibleInterface(first), nullptr);
    EXPECT_NE(list->child(1), nullptr);
}

}  // namespace
}  // namespace tovri
