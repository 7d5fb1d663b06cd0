#include <QAbstractItemView>
#include <QCheckBox>
#include <QDialog>
#include <QListWidget>
#include <QMenu>
#include <QSplitter>

#include "tests/widgets/window/DesktopFixture.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/window/ConflictDialog.h"
#include "widgets/window/ElidedLabel.h"
#include "widgets/window/sidebar/Sidebar.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

class Window : public DesktopFixture {
public:
    ConflictDialog* sheet() {
        for (auto* found : window().findChildren<ConflictDialog*>())
            if (found->isVisible()) return found;
        return nullptr;
    }

    // What a screen reader says of the row.
    std::string sidebarRow(int row) {
        return window().findChild<QListWidget*>()->item(row)->data(Qt::AccessibleTextRole).toString().toStdString();
    }

    // A file whose name is taken, received.
    ConstDownloadPointer conflicting(std::int64_t id, const std::string& name) {
        files.put("/home/user/Downloads/" + name, "old");
        return download(id, name);
    }

    // In the menu of the icon, which is filled when it opens.
    void chooseInTray(const QString& title) {
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* menu = qobject_cast<QMenu*>(widget);
            if (!menu || menu->actions().isEmpty() || menu->actions().constFirst()->text() != "Show Tovri") continue;
            emit menu->aboutToShow();
            for (QAction* action : menu->actions()) {
                if (action->text() != title) continue;
                EXPECT_TRUE(action->isEnabled()) << title.toStdString();
                action->trigger();
                return settle();
            }
        }
        FAIL() << "no " << title.toStdString() << " in the tray";
    }

    QAction* command(const QString& title) {
        for (auto* action : window().findChildren<QAction*>())
            if (action->text().remove('&') == title) return action;
        return nullptr;
    }
};

TEST_F(Window, goesThroughItsSectionsByKeyboard) {
    startSignedIn();
    const char* const titles[] = {"Files", "Transfers", "Downloads", "Automate", "RSS"};
    for (int i = 4; i >= 0; --i) {
        key(Qt::Key(Qt::Key_1 + i), Qt::ControlModifier);
        EXPECT_EQ(window().windowTitle(), titles[i]);
    }
    auto* list = window().findChild<QListWidget*>();
    list->setFocus();
    for (const char* title : titles) {
        EXPECT_EQ(window().windowTitle(), title);
        QTest::keyClick(list, Qt::Key_Down);
    }
    QTest::keyClick(list, Qt::Key_D);
    EXPECT_EQ(window().windowTitle(), "Downloads");
    QTest::keyClick(list, Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(window().windowTitle(), "Tovri");
    EXPECT_TRUE(shows(window(), "Select a section"));
    QTest::keyClick(list, Qt::Key_Home);
    EXPECT_EQ(window().windowTitle(), "Files");

    EXPECT_FALSE(command("Check for Updates…")->isEnabled());
    EXPECT_FALSE(command("New"));
}

TEST_F(Window, refreshesAndSearchesWhereThereIsSomethingTo) {
    startSignedIn();
    for (const Qt::Key section : {Qt::Key_5, Qt::Key_4, Qt::Key_3, Qt::Key_2, Qt::Key_1}) {
        SCOPED_TRACE(section - Qt::Key_0);
        key(section, Qt::ControlModifier);
        // There is no rule whose folder it could look into.
        EXPECT_EQ(command("Refresh")->isEnabled(), section != Qt::Key_3 && section != Qt::Key_4);
        EXPECT_EQ(command("Find")->isEnabled(), section == Qt::Key_1 || section == Qt::Key_3);
        const std::size_t before = http.requests.size();
        key(Qt::Key_F5);
        if (section != Qt::Key_3 && section != Qt::Key_4) EXPECT_EQ(http.requests.size(), before + 1);
    }
    key(Qt::Key_F, Qt::ControlModifier);
    EXPECT_TRUE(qobject_cast<QLineEdit*>(window().focusWidget()));
    key(Qt::Key_3, Qt::ControlModifier);
    EXPECT_FALSE(qobject_cast<QAbstractButton*>(window().focusWidget()));
    (void)download(1, "Film.mkv", "content");
    settle();
    EXPECT_TRUE(qobject_cast<QAbstractItemView*>(window().focusWidget()));
    app->authManager().signOut();
    for (const char* title : {"Refresh", "Find", "Back", "Up", "Files"}) EXPECT_FALSE(command(title)->isEnabled());
}

TEST_F(Window, beginsAtItsEdgeFromRightToLeft) {
    QApplication::setLayoutDirection(Qt::RightToLeft);
    startSignedIn();
    const QWidget& content = *window().findChild<QSplitter*>()->widget(1);
    EXPECT_EQ(content.mapTo(&window(), QPoint()).x(), 0);
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(Window, badgesTheDownloadsAndAsksAboutEachConflict) {
    startSignedIn();
    EXPECT_EQ(sidebarRow(2), "Downloads");
    key(Qt::Key_5, Qt::ControlModifier);
    const ConstDownloadPointer first = conflicting(1, "first");
    settle(5s);
    ASSERT_TRUE(sheet());
    EXPECT_EQ(sidebarRow(2), "Downloads, 1");
    EXPECT_TRUE(shows(*sheet(), "\"first\" already exists at this location."));
    const ConstDownloadPointer second = conflicting(2, "second");
    const ConstDownloadPointer third = conflicting(3, "third");
    settle(5s);
    EXPECT_EQ(sidebarRow(2), "Downloads, 3");
    QTest::keyClick(sheet(), Qt::Key_Escape);
    QTest::keyClick(sheet(), Qt::Key_Return);
    sheet()->close();
    EXPECT_TRUE(shows(*sheet(), "\"first\" already exists at this location."));

    press(*sheet(), "Skip");
    EXPECT_EQ(first->status, DownloadStatus::skipped);
    EXPECT_TRUE(shows(*sheet(), "\"second\" already exists at this location."));
    QTest::keyClick(button(*sheet(), "Apply to all conflicts"), Qt::Key_Space);
    press(*sheet(), "Keep Both");
    settle(5s);
    EXPECT_FALSE(sheet());
    EXPECT_EQ(files.files("/home/user/Downloads").size(), 5U);
    EXPECT_EQ(third->status, DownloadStatus::completed);
    EXPECT_EQ(sidebarRow(2), "Downloads");
}

TEST_F(Window, theSheetStaysWithinItWhateverTheNameIs) {
    startSignedIn();
    window().resize(700, 500);
    const std::string name = std::string(230, 'W') + ".mkv";
    conflicting(1, name);
    settle(5s);
    ASSERT_TRUE(sheet());
    EXPECT_EQ(sheet()->width(), 340);
    EXPECT_LE(sheet()->height(), 484);
    EXPECT_TRUE(shows(*sheet(), "3 bytes · 4 Mar 2024, 10:22:00"));
    for (const char* title : {"Replace", "Keep Both", "Skip"}) {
        const QAbstractButton* found = button(*sheet(), title);
        ASSERT_TRUE(found) << title;
        const QRect place(found->mapTo(sheet(), QPoint()), found->size());
        EXPECT_TRUE(sheet()->rect().contains(place)) << title;
    }
}

TEST_F(Window, saysWhoseAccountItIsAndWhatRoomThereIs) {
    const std::string name = std::string(100, 'a') + "<b>";
    accountInfo = R"({"info":{"username":")" + name + R"(","disk":{"used":5,"size":2000005}}})";
    files.setCapacity("/", 3'000'000);
    startSignedIn();
    settle(1s);
    QStringList lines;
    for (const auto* label : window().findChildren<ElidedLabel*>())
        if (label->isVisible()) lines << label->text();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0], textOf(name));
    EXPECT_EQ(lines[1], "2 MB free on put.io");
    EXPECT_TRUE(lines[2].endsWith(" MB free on disk")) << lines[2].toStdString();
    EXPECT_LE(window().findChild<Sidebar*>()->width(), ContentScreen::sidebarMaximumWidth);
}

TEST_F(Window, theSheetComesBackWithTheWindow) {
    startSignedIn();
    window().close();
    EXPECT_FALSE(window().isVisible());
    const ConstDownloadPointer item = conflicting(1, "taken");
    settle(5s);
    EXPECT_FALSE(sheet());
    desktop->receive("");
    settle();
    ASSERT_TRUE(sheet());
    app->downloadManager().cancel(item);
    settle();
    EXPECT_FALSE(sheet());

    conflicting(2, "taken");
    settle(5s);
    ASSERT_TRUE(sheet());
    desktop->quit();
    EXPECT_FALSE(sheet());
}

TEST_F(Window, leavesItsDownloadsToTheTray) {
    startSignedIn();
    const ConstDownloadPointer item = download(1, "film", std::string(10'000, '.'));
    storage.links["https://storage.put.io/1"].rate = 1000;
    settle(1s);
    window().close();
    EXPECT_FALSE(window().isVisible());
    chooseInTray("Pause All");
    EXPECT_EQ(item->status, DownloadStatus::paused);
    chooseInTray("Resume All");
    settle(15s);
    EXPECT_EQ(item->status, DownloadStatus::completed);
    chooseInTray("Show Tovri");
    EXPECT_TRUE(window().isVisible());
    EXPECT_FALSE(hasEnded);
    chooseInTray("Quit");
    EXPECT_TRUE(hasEnded);
}

TEST_F(Window, asksOnceWhereThereIsNoTray) {
    hasTray = false;
    startSignedIn();
    window().close();
    settle();
    EXPECT_TRUE(window().isVisible());
    press(window(), "Cancel");
    EXPECT_FALSE(button(window(), "Keep Running"));
    window().close();
    settle();
    press(window(), "Keep Running");
    EXPECT_FALSE(window().isVisible());
    desktop->receive("");
    EXPECT_TRUE(window().isVisible());
    window().close();
    settle();
    EXPECT_FALSE(window().isVisible());
    EXPECT_FALSE(hasEnded);

    defaults.remove("whenWindowCloses");
    desktop.reset();
    start();
    window().close();
    settle();
    press(window(), "Quit");
    EXPECT_TRUE(hasEnded);
}

TEST_F(Window, endsWithTheQueueWritten) {
    startSignedIn();
    const ConstDownloadPointer item = download(1, "film", std::string(100'000, '.'));
    storage.links["https://storage.put.io/1"].rate = 1000;
    settle(10s);
    key(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_FALSE(window().isVisible());
    settle(2s);
    EXPECT_TRUE(hasEnded);
    desktop.reset();
    app.reset();

    startSignedIn();
    settle(1s);
    ASSERT_EQ(app->downloadManager().downloads().items().size(), 1U);
    EXPECT_GE(app->downloadManager().downloads().items()[0]->bytesDownloaded, 9000);
}

}  // namespace
}  // namespace tovri::test
