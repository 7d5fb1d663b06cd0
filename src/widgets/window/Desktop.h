#pragma once

#include <QPointer>
#include <functional>
#include <memory>
#include <string_view>

#include "app/DesktopPresence.h"
#include "app/TovriApp.h"
#include "platform/EntryLook.h"
#include "platform/TextCollation.h"
#include "platform/Workspace.h"
#include "screens/KeptLog.h"
#include "screens/NoticingWorkspace.h"
#include "screens/automation/SyncRulesScreen.h"
#include "screens/downloads/DownloadsScreen.h"
#include "screens/feeds/RSSFeedsScreen.h"
#include "screens/files/FileBrowserScreen.h"
#include "screens/settings/SettingsScreen.h"
#include "screens/settings/SignInScreen.h"
#include "screens/transfers/TransfersScreen.h"
#include "screens/window/ContentScreen.h"
#include "screens/window/SidebarFoot.h"
#include "widgets/window/Ending.h"
#include "widgets/window/MainWindow.h"
#include "widgets/window/StrayPresses.h"
#include "widgets/window/TrayIcon.h"
#include "widgets/window/WindowMemory.h"
#include "widgets/window/help/LogWindow.h"
#include "widgets/window/settings/SettingsWindow.h"

namespace tovri {

class Sheet;

// The application as the desktop has it: all screens, the windows that show them, the icon that stays when the windows
// are gone, and the way out. The application is set up before it, so that its client is there.
class Desktop final : public QObject {
    Q_OBJECT

public:
    // All outlive the desktop.
    struct Surroundings {
        TovriApp& app;
        Platform platform;
        UserDefaults& defaults;
        Workspace& workspace;
        const TextCollation& collation;
        SleepInhibitor& inhibitor;
        UserNotifications& notifications;
        ServiceHosts hosts;
        std::function<bool()> hasTray;
        KeptLog& log;
        EntryLook& entries;
    };

    // `ended` runs when nothing keeps the process any more.
    Desktop(Surroundings surroundings, Ending::Done ended);

    [[nodiscard]] MainWindow& window() { return window_; }

    [[nodiscard]] SettingsWindow& settings() { return settings_; }

    void open();

    // The program was started once more, with a sign-in page's redirect or an empty address.
    void receive(std::string_view address);

    // A change of the settings could not be written, for this reason.
    void tellUnsavedSettings(const std::string& reason);

    // The window goes at once, the process when its downloads have come to rest.
    void quit();

signals:
    void ending();  // nothing that is received counts any more

private:
    SectionView* makeSection(SidebarItem item);
    void showTray();
    void showLog();
    void closeWindow();
    Sheet* makeQuestion(Sheet*& open, const QString& title, const QString& sentence);
    void askAboutClosing();
    void quitUnlessUploading();
    void askAboutAccount();
    void dropQuestions();
    void hideWindows();

    StrayPresses strayPresses_;
    Surroundings surroundings_;
    Ending::Done ended_;
    DesktopPreferences preferences_;
    Notices notices_;
    NoticingWorkspace workspace_;
    ContentScreen content_;
    SidebarFoot foot_;
    SignInGate gate_;
    SignInScreen signIn_;
    SettingsScreen settingsScreen_;
    FileBrowserScreen files_;
    TransfersScreen transfers_;
    DownloadsScreen downloads_;
    SyncRulesScreen rules_;
    RSSFeedsScreen feeds_;
    MainWindow window_;
    WindowMemory memory_;
    SettingsWindow settings_;
    QPointer<LogWindow> log_;
    std::unique_ptr<TrayIcon> tray_;
    Sheet* closing_ = nullptr;
    Sheet* quitting_ = nullptr;
    QPointer<Sheet> account_;
    DesktopPresence presence_;
    Subscription asking_;
    Subscription leaving_;
    Ending ending_;
};

}  // namespace tovri
