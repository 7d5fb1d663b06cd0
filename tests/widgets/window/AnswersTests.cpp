#include <QClipboard>
#include <QHeaderView>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QSplitter>
#include <QToolButton>

#include "platform/posix/stores/FileUserDefaults.h"
#include "tests/widgets/window/DesktopFixture.h"
#include "widgets/parts/bars/NoticeBar.h"
#include "widgets/parts/bars/Toolbar.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/rows/RowListView.h"
#include "widgets/window/help/LogWindow.h"

namespace tovri::test {
namespace {

using namespace std::chrono_literals;

// What the window says to what the user does.
class Answers : public DesktopFixture {
public:
    [[nodiscard]] std::string answer() {
        const auto* bar = window().findChild<NoticeBar*>();
        return bar->isVisible() ? bar->accessibleName().toStdString() : "";
    }

    // Clicks twice on the button, as fast as a hand, in a queue that goes on.
    void doubleClickOn(const QString& title) {
        const QAbstractButton* found = button(window(), title);
        ASSERT_NE(found, nullptr) << title.toStdString();
        test::doubleClick(window(), found->mapTo(&window(), found->rect().center()), [this] { settle(140ms); });
        settle();
    }

    void trigger(const QString& title) {
        for (QAction* menu : window().menuBar()->actions())
            for (QAction* action : menu->menu()->actions())
                if (action->text().remove('&') == title) action->trigger();
        settle();
    }

    [[nodiscard]] std::string statuses() const {
        std::string text;
        for (const ConstDownloadPointer& item : app->downloadManager().downloads().items())
            text += (text.empty() ? "" : " ") + std::string(rawValue(item->status));
        return text;
    }
};

TEST_F(Answers, aCancelledQueueCanBeHadBack) {
    startSignedIn();
    app->downloadManager().pauseAll();
    for (int i = 1; i <= 3; ++i) (void)download(i, "Film " + std::to_string(i), std::string(1000, 'x'));
    app->downloadManager().pauseAll();
    key(Qt::Key_3, Qt::ControlModifier);
    doubleClickOn("Cancel All");
    EXPECT_EQ(statuses(), "cancelled cancelled cancelled");
    EXPECT_EQ(answer(), "3 downloads cancelled.");
    doubleClickOn("Undo");  // the second click finds what has come in the place of the bar
    EXPECT_EQ(statuses(), "paused paused paused");
    EXPECT_EQ(answer(), "");
    press(window(), "Cancel All");
    settle(11s);
    EXPECT_EQ(answer(), "");
    EXPECT_EQ(button(window(), "Undo"), nullptr);
    EXPECT_EQ(statuses(), "cancelled cancelled cancelled");
}

TEST_F(Answers, aSettingThatCannotBeSavedIsTold) {
    FileUserDefaults kept(files, log, "/home/user/.config/preferences.json");
    settings = &kept;
    startSignedIn();
    kept.onFailure([this](const std::string& reason) { desktop->tellUnsavedSettings(reason); });
    files.failNext("writeFileAtomically", "/home/user/.config/preferences.json",
                   Error(ErrorCase::file, "The disk is full."));
    app->preferences().setMaxConcurrentDownloads(7);
    settle();
    EXPECT_EQ(answer(), "The settings could not be saved. The disk is full.");
    EXPECT_EQ(app->preferences().maxConcurrentDownloads(), 7);
    desktop.reset();
    app.reset();
}

TEST_F(Answers, theWindowComesBackAsItWas) {
    startSignedIn();
    window().resize(1100, 700);
    settle();
    auto* parts = window().findChild<QSplitter*>();
    parts->setSizes({210, 890});
    key(Qt::Key_4, Qt::ControlModifier);
    desktop->quit();
    settle();
    desktop.reset();
    app.reset();
    start();
    EXPECT_EQ(window().size(), QSize(1100, 700));
    EXPECT_EQ(window().findChild<QSplitter*>()->sizes().front(), 210);
}

TEST_F(Answers, everyButtonWithoutATextHasANameAndSaysWhatItDoes) {
    startSignedIn();
    (void)download(1, "Film");
    app->downloadManager().pauseAll();
    for (const Qt::Key section : {Qt::Key_5, Qt::Key_4, Qt::Key_3, Qt::Key_2, Qt::Key_1})
        key(section, Qt::ControlModifier);
    app->downloadManager().cancelAll();
    settle();
    for (const auto* each : window().findChildren<QToolButton*>()) {
        const auto* field = qobject_cast<QLineEdit*>(each->parent());
        const bool isNeverSeen = (field && field->isHidden()) || each->objectName().startsWith("qt_");
        if (isNeverSeen || each->toolButtonStyle() == Qt::ToolButtonTextBesideIcon) continue;
        const bool isTextAlone = each->icon().isNull();
        const std::string where = each->parent()->metaObject()->className() + each->objectName().toStdString();
        EXPECT_FALSE(each->accessibleName().isEmpty() && each->text().isEmpty()) << where;
        if (!isTextAlone) EXPECT_FALSE(each->toolTip().isEmpty()) << where << each->accessibleName().toStdString();
    }
    for (auto* toolbar : window().findChildren<Toolbar*>()) EXPECT_LE(toolbar->minimumSizeHint().width(), 520);
}

TEST_F(Answers, itTellsItsShortcutsAndItsLog) {
    startSignedIn();
    trigger("Keyboard Shortcuts");
    Sheet* help = seenSheet(window());
    ASSERT_NE(help, nullptr);
    EXPECT_TRUE(seenTexts(*help).contains("Move to"));
    EXPECT_TRUE(seenTexts(*help).contains("Alt+Up, Backspace"));
    EXPECT_LE(help->height(), window().height());
    QTest::keyClick(help, Qt::Key_Escape);
    platform.log.line("[DownloadManager] one");
    trigger("Log");
    const auto windows = QApplication::topLevelWidgets();
    const auto found = std::ranges::find_if(windows, [](QWidget* each) { return qobject_cast<LogWindow*>(each); });
    ASSERT_NE(found, windows.end());
    platform.log.line("[SyncManager] two");
    settle();
    const auto* text = (*found)->findChild<QPlainTextEdit*>();
    EXPECT_TRUE(text->toPlainText().endsWith("[DownloadManager] one\n[SyncManager] two"));
    QTest::keyClicks((*found)->findChild<QLineEdit*>(), "sync");
    ASSERT_TRUE(test::press(**found, "Copy"));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "[SyncManager] two");
    (*found)->close();
    settle();
}

}  // namespace
}  // namespace tovri::test
