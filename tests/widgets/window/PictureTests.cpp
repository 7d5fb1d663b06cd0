#include <QAbstractItemView>
#include <QComboBox>
#include <QMenu>
#include <QTabWidget>

#include "tests/widgets/window/DesktopFixture.h"
#include "widgets/theme/Palettes.h"
#include "widgets/window/ConflictDialog.h"

namespace tovri::test {
namespace {

// Pictures of the windows, for people to look at: into the folder that TOVRI_PICTURES names. The scale is that of
// QT_SCALE_FACTOR.
class WindowPictures : public DesktopFixture, public testing::WithParamInterface<bool> {
protected:
    void SetUp() override {
        folder_ = qEnvironmentVariable("TOVRI_PICTURES");
        if (folder_.isEmpty()) GTEST_SKIP() << "TOVRI_PICTURES names no folder";
        QApplication::setPalette(GetParam() ? darkPalette() : lightPalette());
    }

    void TearDown() override { QApplication::setPalette(lightPalette()); }

    void take(QWidget& widget, const QString& name) {
        settle();
        EXPECT_TRUE(widget.grab().save(QString("%1/%2-%3.png").arg(folder_, name, GetParam() ? "dark" : "light")));
    }

private:
    QString folder_;
};

INSTANTIATE_TEST_SUITE_P(lightAndDark, WindowPictures, testing::Bool());

TEST_P(WindowPictures, signingIn) {
    start();
    take(window(), "sign-in-first");
    type(*field<QLineEdit>(window(), "Client ID"), "4711");
    press(window(), "Save");
    take(window(), "sign-in");
    press(window(), "Sign in with put.io");
    press(window(), "Continue");
    window().resize(MainWindow::smallest);
    take(window(), "sign-in-waiting");
    press(window(), "Cancel");
    press(window(), "Change Client ID");
    take(window(), "sign-in-cancelled");
}

TEST_P(WindowPictures, sectionsAndSheets) {
    EXPECT_TRUE(files.createDirectories("/tmp"));
    files.put("/home/user/a", "a");
    files.put("/home/user/b", "b");
    accountInfo = R"({"info":{"username":"a-user-with-a-very-long-name-at-the-end-of-which-stands-something",)"
                  R"("disk":{"used":700000000000,"size":1000000000000}}})";
    startSignedIn();
    http.latency = std::chrono::seconds(10);
    app->fileBrowserState().uploadFiles({"/home/user/a", "/home/user/b"}, rootFolderID);
    take(window(), "files-uploading");
    key(Qt::Key_3, Qt::ControlModifier);
    for (const std::int64_t id : {1, 2, 3}) {
        files.put("/home/user/Downloads/A film with a rather long name (1922).mkv", "old");
        (void)download(id, "A film with a rather long name (1922).mkv", std::string(1000, '.'));
    }
    settle(std::chrono::minutes(1));
    take(window(), "window-downloads");
    take(*window().findChild<ConflictDialog*>(), "conflict");
    press(*window().findChild<ConflictDialog*>(), "Skip");
    app->downloadManager().cancelAll();
    settle();
    const std::string longName = std::string(60, 'a') + " long name " + std::string(170, 'b') + ".mkv";
    files.put("/home/user/Downloads/" + longName, "old");
    (void)download(4, longName);
    settle(std::chrono::minutes(1));
    for (auto* dialog : window().findChildren<ConflictDialog*>())
        if (dialog->isVisible()) take(*dialog, "conflict-long-name");
    window().resize(MainWindow::smallest);
    take(window(), "window-small");
}

// Those of the bar and of the toolbar, and a list of choices.
TEST_P(WindowPictures, menus) {
    startSignedIn();
    desktop->settings().bringForward();
    for (const auto direction : {Qt::LeftToRight, Qt::RightToLeft}) {
        QApplication::setLayoutDirection(direction);
        const QString suffix = direction == Qt::LeftToRight ? "" : "-rtl";
        int number = 0;
        for (QMenu* menu : window().findChildren<QMenu*>()) {
            if (menu->isEmpty()) continue;
            menu->popup({});
            menu->setActiveAction(menu->actions().constFirst());
            take(*menu, QString("menu-%1").arg(number++) + suffix);
            menu->close();
        }
        auto* choice = desktop->settings().findChild<QComboBox*>();
        choice->showPopup();
        take(*choice->view()->window(), "menu-choice" + suffix);
        choice->hidePopup();
    }
    QApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_P(WindowPictures, settings) {
    startSignedIn();
    app->authManager().saveClientID("abcdefghij");
    SettingsWindow& settings = desktop->settings();
    app->speedControl().setOn(true);
    app->preferences().assign(
        preference::speedTimetable,
        SpeedTimetable::parse("mon-fri 08:00-18:00 500K; sat,sun 22:00-06:00 hold").value_or(SpeedTimetable()));
    settings.bringForward();
    for (int tab = 0; tab < 4; ++tab) {
        settings.findChild<QTabWidget*>()->setCurrentIndex(tab);
        take(settings, QString("settings-%1").arg(tab));
    }
    settings.findChild<QTabWidget*>()->setCurrentIndex(2);
    press(settings, "Change");
    take(settings, "settings-client-id");
}

}  // namespace
}  // namespace tovri::test
