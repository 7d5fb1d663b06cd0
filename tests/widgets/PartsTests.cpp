#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>
#include <QTabBar>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>
#include <ranges>
#include <vector>

#include <gtest/gtest.h>

#include "tests/widgets/Seen.h"
#include "widgets/parts/Menus.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/bars/Breadcrumbs.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/forms/StepperBox.h"
#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/theme/ForeignText.h"

namespace tovri {
namespace {

template <class Button>
Button* buttonNamed(const QWidget& parent, const QString& text) {
    for (auto* button : parent.findChildren<Button*>())
        if (button->text() == text && button->isVisible()) return button;
    return nullptr;
}

TEST(BreadcrumbsTest, foldItsMiddleIntoAMenu) {
    Breadcrumbs crumbs;
    crumbs.resize(320, 36);
    crumbs.show(QStringList{"Your Files", "Series", "A Long Name of a Show", "Season 1 & 2", "Extras"});
    crumbs.show();
    EXPECT_NE(buttonNamed<QToolButton>(crumbs, "Your Files"), nullptr);
    EXPECT_EQ(buttonNamed<QToolButton>(crumbs, "Series"), nullptr);
    EXPECT_NE(buttonNamed<QToolButton>(crumbs, "Extras"), nullptr);
    QToolButton* fold = buttonNamed<QToolButton>(crumbs, "…");
    ASSERT_NE(fold, nullptr);
    QSignalSpy chosen(&crumbs, &Breadcrumbs::chosen);
    fold->menu()->actions().at(0)->trigger();
    EXPECT_EQ(chosen.at(0).at(0).toInt(), 1);
    crumbs.resize(900, 36);
    EXPECT_EQ(buttonNamed<QToolButton>(crumbs, "…"), nullptr);
    EXPECT_NE(buttonNamed<QToolButton>(crumbs, "Season 1 && 2"), nullptr);
}

std::vector<ToolbarEntry> someEntries(bool canDownload) {
    return {{.action = 1, .title = "Download", .symbol = "arrow.down.circle", .isEnabled = canDownload},
            {.kind = ToolbarEntry::Kind::menu,
             .title = "Sort",
             .symbol = "arrow.up.arrow.down",
             .choices = {{10, "Name", true}, {11, "Size", false}}},
            {.kind = ToolbarEntry::Kind::progress, .title = "Uploading", .isVisible = false},
            {.kind = ToolbarEntry::Kind::searchField, .title = "Filter files"}};
}

TEST(ForeignTextTest, namesAreNoMarkup) {
    const QString name = "<img src=\"file:%2fdev%2fzero\">\n& more";
    Breadcrumbs crumbs;
    crumbs.show(QStringList{name.repeated(20), "Extras"});
    QWidget widget;
    setPlainToolTip(widget, name);
    const std::unique_ptr<QLabel> label(makeLabel(name));
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    QStringList toolTips{widget.toolTip()};
    for (const auto* button : crumbs.findChildren<QToolButton*>()) toolTips << button->toolTip();
    for (const QString& text : toolTips) {
        EXPECT_FALSE(text.contains("<img")) << text.toStdString();
        EXPECT_FALSE(Qt::mightBeRichText(text) && !text.startsWith("<p style")) << text.toStdString();
    }
    EXPECT_EQ(plainToolTip("A & B"), "A & B");
}

TEST(ToolbarTest, followsItsEntriesWithoutTakingTheFocusOrTheText) {
    Toolbar toolbar;
    toolbar.resize(900, 48);
    toolbar.show(someEntries(false));
    toolbar.show();
    auto* search = toolbar.findChild<QLineEdit*>();
    QSignalSpy searched(&toolbar, &Toolbar::searchChanged);
    toolbar.activateWindow();
    toolbar.focusSearch();
    QTest::keyClicks(search, QStringLiteral("abc"));
    EXPECT_EQ(searched.count(), 3);
    QToolButton* download = buttonNamed<QToolButton>(toolbar, "Download");
    ASSERT_NE(download, nullptr);
    EXPECT_FALSE(download->isEnabled());
    toolbar.show(someEntries(true));
    EXPECT_EQ(search->text(), QStringLiteral("abc"));
    EXPECT_EQ(buttonNamed<QToolButton>(toolbar, "Download"), download);
    QSignalSpy triggered(&toolbar, &Toolbar::triggered);
    download->click();
    buttonNamed<QToolButton>(toolbar, "Sort")->menu()->actions().at(1)->trigger();
    ASSERT_EQ(triggered.count(), 2);
    EXPECT_EQ(triggered[0][0].toInt(), 1);
    EXPECT_EQ(triggered[1][0].toInt(), 11);
    test::doubleClick(toolbar, download->geometry().center());
    EXPECT_EQ(triggered.count(), 3);
    EXPECT_EQ(download->toolButtonStyle(), Qt::ToolButtonTextBesideIcon);
    toolbar.resize(toolbar.minimumSizeHint().width(), 48);
    EXPECT_EQ(download->toolButtonStyle(), Qt::ToolButtonIconOnly);
}

// A focus that cannot be seen is of no use.
TEST(FocusTest, isSeenWhereTheTabKeyBringsIt) {
    QWidget window;
    auto* column = new QVBoxLayout(&window);
    auto* flat = new QToolButton;
    flat->setAutoRaise(true);
    flat->setFocusPolicy(Qt::TabFocus);
    const std::vector<QWidget*> controls = {
        new QLineEdit, new QPushButton, flat,        new QCheckBox,
        new QComboBox, new Switch,      new QTabBar, new StepperBox([](std::int64_t /*number*/) {})};
    for (QWidget* control : controls) column->addWidget(control);
    qobject_cast<QTabBar*>(controls[6])->addTab("General");
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    controls.front()->setFocus();
    for (QWidget* control : controls | std::views::drop(1)) {
        SCOPED_TRACE(control->metaObject()->className());
        const QImage before = control->grab().toImage();
        QTest::keyClick(window.focusWidget(), Qt::Key_Tab);
        EXPECT_TRUE(control->hasFocus());
        EXPECT_NE(control->grab().toImage(), before);
    }
}

TEST(SheetTest, escapeCancelsAndReturnDestroysNothing) {
    QWidget window;
    Sheet* sheet = makeConfirmation(&window, "Delete “a”?", "For good.", "Delete", "Cancel");
    QSignalSpy cancelled(sheet, &Sheet::cancelled);
    QSignalSpy confirmed(sheet, &Sheet::confirmed);
    sheet->show();
    QTest::keyClick(sheet, Qt::Key_Escape);
    EXPECT_EQ(cancelled.count(), 1);
    EXPECT_TRUE(sheet->isVisible());  // until the screen says so
    QTest::keyClick(sheet, Qt::Key_Return);
    EXPECT_EQ(cancelled.count(), 2);
    EXPECT_EQ(confirmed.count(), 0);
    buttonNamed<QPushButton>(*sheet, "Delete")->click();
    EXPECT_EQ(confirmed.count(), 1);
}

TEST(SheetTest, staysWithinItsWindowWhateverItSays) {
    QWidget window;
    window.resize(900, 600);
    const std::unique_ptr<Sheet> sheet(
        makeConfirmation(&window, QString(5000, 'W'), QString(50'000, 'W') + " again", "Delete", "Cancel"));
    auto* error = new ErrorLine;
    sheet->body()->addWidget(error);
    window.show();
    sheet->show();
    error->show(QString(5000, 'W'));
    for (const QSize size : {QSize(900, 600), QSize(700, 500)}) {
        window.resize(size);
        test::settle();
        const QPushButton* button = buttonNamed<QPushButton>(*sheet, "Delete");
        ASSERT_NE(button, nullptr);
        EXPECT_LE(sheet->width(), size.width());
        EXPECT_LE(sheet->height(), size.height());
        EXPECT_TRUE(sheet->rect().contains(QRect(button->mapTo(sheet.get(), QPoint()), button->size())));
    }
}

TEST(MenusTest, showTheScreensLines) {
    enum class Action { open, erase };
    QMenu menu;
    std::vector<Action> performed;
    const std::vector<MenuItem<Action>> items = {{.action = Action::open, .title = "Download & Delete"},
                                                 MenuItem<Action>::separator(),
                                                 {.action = Action::erase, .title = "Erase", .isEnabled = false}};
    addItems<Action>(menu, items, [&](Action action) { performed.push_back(action); });
    ASSERT_EQ(menu.actions().size(), 3);
    EXPECT_EQ(menu.actions()[0]->text(), QStringLiteral("Download && Delete"));
    EXPECT_TRUE(menu.actions()[1]->isSeparator());
    EXPECT_FALSE(menu.actions()[2]->isEnabled());
    menu.actions()[0]->trigger();
    EXPECT_EQ(performed, std::vector{Action::open});
}

TEST(PlaceholderTest, offersTheButtonThatHelps) {
    PlaceholderView view;
    view.show(errorPlaceholder("No connection."));
    view.show();
    QSignalSpy pressed(&view, &PlaceholderView::buttonPressed);
    ASSERT_NE(buttonNamed<QPushButton>(view, "Retry"), nullptr);
    buttonNamed<QPushButton>(view, "Retry")->click();
    EXPECT_EQ(pressed.count(), 1);
    view.show(progressPlaceholder("Loading files..."));
    EXPECT_EQ(buttonNamed<QPushButton>(view, "Retry"), nullptr);
}

}  // namespace
}  // namespace tovri
