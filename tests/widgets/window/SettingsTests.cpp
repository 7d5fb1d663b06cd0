#include <QAbstractSpinBox>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QSpinBox>
#include <QTabWidget>
#include <QTimeEdit>

#include "tests/widgets/window/DesktopFixture.h"

namespace tovri::test {
namespace {

class SettingsOnScreen : public DesktopFixture {
public:
    SettingsOnScreen() {
        startSignedIn();
        desktop->settings().bringForward();
        settle();
    }

    SettingsWindow& settings() { return desktop->settings(); }

    void turnTo(int tab) { settings().findChild<QTabWidget*>()->setCurrentIndex(tab); }

    // How often it goes in a direction before it stops, and what it says there.
    static std::string stepToEnd(QAbstractSpinBox& box, Qt::Key arrow) {
        for (int i = 0; i < 70; ++i) QTest::keyClick(&box, arrow);
        return box.text().toStdString();
    }
};

TEST_F(SettingsOnScreen, takeEffectAtOnce) {
    auto* deletes = button(settings(), "Delete files from put.io after download");
    ASSERT_TRUE(deletes);
    QTest::keyClick(deletes, Qt::Key_Space);
    EXPECT_EQ(defaults.boolean("deleteAfterDownload"), true);

    QTest::keyClick(button(settings(), "Read long folders to their end"), Qt::Key_Space);
    EXPECT_EQ(defaults.boolean("readLongFolders"), false);

    auto* limit = field<QAbstractSpinBox>(settings(), "Max concurrent downloads");
    ASSERT_TRUE(limit);
    EXPECT_EQ(limit->text(), "3");
    EXPECT_EQ(stepToEnd(*limit, Qt::Key_Up), "10");
    EXPECT_EQ(stepToEnd(*limit, Qt::Key_Down), "1");
    EXPECT_EQ(defaults.integer("maxConcurrentDownloads"), 1);
    auto* interval = field<QAbstractSpinBox>(settings(), "Default poll interval");
    ASSERT_TRUE(interval);
    EXPECT_EQ(interval->text(), "5 min");
    EXPECT_EQ(stepToEnd(*interval, Qt::Key_Up), "60 min");
    EXPECT_EQ(stepToEnd(*interval, Qt::Key_Down), "1 min");

    auto* conflicts = field<QComboBox>(settings(), "When a file already exists");
    ASSERT_TRUE(conflicts);
    EXPECT_TRUE(shows(settings(), "Show a dialog for each conflict."));
    QTest::keyClick(conflicts, Qt::Key_End);
    EXPECT_EQ(conflicts->currentText(), "Skip");
    EXPECT_EQ(defaults.string("conflictBehavior"), "skip");
    EXPECT_TRUE(shows(settings(), "Discard the download and keep the existing file."));

    turnTo(3);
    QTest::keyClick(button(settings(), "Keep the computer awake while files are transferred"), Qt::Key_Space);
    EXPECT_EQ(defaults.boolean("keepAwakeWhileTransferring"), false);
    QTest::keyClick(button(settings(), "Notify when all downloads are done or one has failed"), Qt::Key_Space);
    EXPECT_EQ(defaults.boolean("notifyWhenFinished"), false);
}

TEST_F(SettingsOnScreen, limitTheSpeedByTheClock) {
    turnTo(1);
    QTest::keyClick(button(settings(), "Limit the speed"), Qt::Key_Space);
    auto* limit = settings().findChildren<QSpinBox*>().constFirst();
    EXPECT_EQ(limit->text(), "2,000 KB/s");
    limit->selectAll();
    QTest::keyClicks(limit, "500");
    EXPECT_EQ(app->speedControl().text(), "2 MB/s");  // not while it is typed
    QTest::keyClick(limit, Qt::Key_Return);
    EXPECT_EQ(app->speedControl().text(), "500 KB/s");
    EXPECT_EQ(defaults.integer("speedLimit"), 500'000);

    press(settings(), "Add Time");
    press(settings(), "Add Time");
    EXPECT_EQ(defaults.string("speedTimetable"), "mon-fri 08:00-18:00 hold; mon-fri 08:00-18:00 hold");
    press(settings(), "Remove Mon–Fri, 08:00 to 18:00");
    settle();
    press(settings(), "Sat");
    auto* from = settings().findChild<QTimeEdit*>();
    QTest::keyClick(from, Qt::Key_Up);
    auto* what = field<QComboBox>(settings(), "What counts then");
    QTest::keyClick(what, Qt::Key_Home);
    EXPECT_EQ(defaults.string("speedTimetable"), "mon-sat 09:00-18:00 500000");
    QTest::keyClick(what, Qt::Key_End);
    for (const char* day : {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat"}) press(settings(), day);
    EXPECT_EQ(defaults.string("speedTimetable"), "sat 09:00-18:00 hold");

    auto* reserve = settings().findChildren<QSpinBox*>().constLast();
    EXPECT_EQ(reserve->text(), "256 MiB");
    QTest::keyClick(reserve, Qt::Key_Up);
    EXPECT_EQ(defaults.integer("reservedMebibytes"), 266);
}

TEST_F(SettingsOnScreen, areReachedByTheTabKey) {
    settings().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&settings()));
    QStringList reached;
    for (int i = 0; i < 7; ++i) {
        QWidget* focus = settings().focusWidget();
        QTest::keyClick(focus != nullptr ? focus : &settings(), Qt::Key_Tab);
        QWidget* next = settings().focusWidget();
        ASSERT_TRUE(next);
        reached << (next->accessibleName().isEmpty() ? next->metaObject()->className() : next->accessibleName());
    }
    for (const char* control : {"QTabBar", "Delete files from put.io after download", "Max concurrent downloads",
                                "When a file already exists", "Default poll interval"})
        EXPECT_TRUE(reached.contains(control)) << control << " is not among " << reached.join(", ").toStdString();
}

TEST_F(SettingsOnScreen, editTheClientID) {
    turnTo(2);
    EXPECT_TRUE(shows(settings(), "Not set"));
    app->authManager().saveClientID("abcdefghij");
    EXPECT_TRUE(shows(settings(), "abcd...ij"));
    press(settings(), "Change");
    auto* clientID = field<QLineEdit>(settings(), "Client ID");
    ASSERT_TRUE(clientID);
    EXPECT_EQ(clientID->text(), "abcdefghij");
    type(*clientID, " 4711 ");
    press(settings(), "Save");
    EXPECT_EQ(app->authManager().clientID(), "4711");
    EXPECT_TRUE(shows(settings(), "4711"));

    press(settings(), "Change");
    QTest::keyClick(&settings(), Qt::Key_Escape);
    settings().bringForward();
    EXPECT_TRUE(button(settings(), "Change"));
}

}  // namespace
}  // namespace tovri::test
