#include <QAbstractEventDispatcher>
#include <QPainter>
#include <QProxyStyle>
#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

#include "tests/widgets/RowListFixture.h"
#include "widgets/theme/Style.h"

namespace tovri {
namespace {

using Kind = ScreenChange::Kind;

struct RowFadeTest : RowListFixture {};

QImage without(const QRect& place, QImage image) {
    QPainter(&image).fillRect(place, Qt::black);
    return image;
}

// Whether it will do something by itself.
bool hasTimers(RowListView& list) {
    return !QAbstractEventDispatcher::instance()->registeredTimers(&list).isEmpty();
}

TEST_F(RowFadeTest, fadesARowThatLeavesItsSection) {
    for (const int offset : {0, 300}) {
        SCOPED_TRACE(offset);
        view.verticalScrollBar()->setValue(offset);
        ASSERT_EQ(picture(), pictureAtRest());
        const QModelIndex index = view.indexAt({100, 150});
        const QRect place = view.visualRect(index);
        const auto number = static_cast<std::size_t>(index.row());
        const ListedRows::Row row = remove(number);
        const QImage fading = picture();
        const QImage resting = pictureAtRest();
        EXPECT_NE(fading.copy(place), resting.copy(place));
        EXPECT_EQ(without(place, fading), without(place, resting));
        EXPECT_TRUE(comesToRest());
        insert(number, row);
        EXPECT_EQ(picture(), pictureAtRest());
    }
    view.verticalScrollBar()->setValue(0);
    static_cast<void>(picture());
    move(2, 7);
    EXPECT_NE(picture(), pictureAtRest());
    EXPECT_TRUE(comesToRest());
    EXPECT_TRUE(QTest::qWaitFor([this] { return !hasTimers(view); }, longestWait)) << "it is drawn for ever";
}

TEST_F(RowFadeTest, fadesNothingThatStaysOrComesBack) {
    move(1, 3);
    EXPECT_EQ(picture(), pictureAtRest());
    remove(50);  // out of sight
    EXPECT_EQ(picture(), pictureAtRest());
    const ListedRows::Row row = remove(2);
    EXPECT_NE(picture(), pictureAtRest());
    insert(1, row);
    EXPECT_EQ(picture(), pictureAtRest());
    remove(2);
    static_cast<void>(picture());
    view.hide();
    view.show();
    EXPECT_EQ(picture(), pictureAtRest());
}

TEST_F(RowFadeTest, fadesNothingWhereThereAreNoSections) {
    std::erase_if(source.rows, [](const ListedRows::Row& row) { return row.content.shape == RowShape::header; });
    model.follow({Kind::reset});
    EXPECT_TRUE(comesToRest());
    remove(2);
    EXPECT_EQ(picture(), pictureAtRest());
}

TEST_F(RowFadeTest, fadesNothingWithReducedMotion) {
    class StillStyle final : public QProxyStyle {
    public:
        StillStyle() : QProxyStyle(new Style) {}

        int styleHint(StyleHint hint, const QStyleOption* option, const QWidget* widget,
                      QStyleHintReturn* answer) const override {
            return hint == SH_Widget_Animation_Duration ? 0 : QProxyStyle::styleHint(hint, option, widget, answer);
        }
    };

    QApplication::setStyle(new StillStyle);
    static_cast<void>(picture());
    remove(2);
    EXPECT_EQ(picture(), pictureAtRest());
    QApplication::setStyle(new Style);
}

TEST_F(RowFadeTest, mayGoWhileARowFades) {
    auto other = std::make_unique<RowListView>();
    auto others = std::make_unique<RowModel>(source);
    const auto fade = [&] {
        other->setModel(others.get());
        other->show();
        static_cast<void>(other->grab());
        const ListedRows::Row row = remove(1);
        others->follow({Kind::removed, 1, 1});
        static_cast<void>(other->grab());
        insert(1, row);
        return others->follow({Kind::inserted, 1, 1});
    };
    fade();
    other->setModel(nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !hasTimers(*other); }, longestWait));
    fade();
    others.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !hasTimers(*other); }, longestWait));
    EXPECT_EQ(other->rows(), nullptr);
    others = std::make_unique<RowModel>(source);
    fade();
    other.reset();
    test::settle();
}

}  // namespace
}  // namespace tovri
