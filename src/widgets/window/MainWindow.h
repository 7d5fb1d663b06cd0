#pragma once

#include <QMainWindow>
#include <array>
#include <functional>
#include <vector>

#include "app/UpdaterController.h"
#include "screens/Notices.h"
#include "screens/settings/SignInScreen.h"
#include "screens/window/ContentScreen.h"
#include "screens/window/SidebarFoot.h"
#include "widgets/parts/SectionCommand.h"
#include "widgets/parts/details/DetailsSetting.h"

class QSplitter;
class QStackedWidget;

namespace tovri {

class ConflictDialog;
class PlaceholderView;
class SectionView;
class Sidebar;
class SignInView;

// The main window: the sign-in screen, or the sidebar beside the view of the section that is selected; over either the
// sheet of a file conflict. Views are made on their first showing.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    using MakeSection = std::function<SectionView*(SidebarItem)>;

    static constexpr QSize smallest{700, 500};
    static constexpr QSize initial{900, 600};

    // All outlive the window.
    struct Screens {
        ContentScreen& content;
        SidebarFoot& foot;
        SignInScreen& signIn;
        UpdaterController& updater;
        Notices& notices;
    };

    MainWindow(const Screens& screens, MakeSection makeSection);

    // On top of the other windows, whatever state it was in.
    void bringForward();

    // The sidebar and what is beside it.
    [[nodiscard]] QSplitter& parts() { return *split_; }

    [[nodiscard]] DetailsSetting& details() { return details_; }

signals:
    void settingsWanted();
    void logWanted();
    void closingWanted();  // the user closes the window, which is still there
    void quitWanted();

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeCentre();
    void addMenus();
    void addFileMenu();
    void addViewMenu();
    void addDetailsSwitch(QMenu& view);
    void addGoMenu();
    void addHelpMenu();
    void addCommand(QMenu& menu, SectionCommand command, const QString& title, const QList<QKeySequence>& shortcuts);
    void addSwitch(QMenu& menu, SectionCommand command, const QString& title);
    void follow(ContentScreen::Change change);
    void showContent();
    void showSection();
    void focusRows();
    void showConflict();
    void updateMenus();
    void updateCommands();
    SectionView* section(SidebarItem item);
    [[nodiscard]] SectionView* shownSection() const;
    void showAbout();
    void showKeyboardHelp();

    struct Command {
        SectionCommand command;
        QAction* action;
    };

    Screens screens_;
    MakeSection makeSection_;
    DetailsSetting details_;
    std::array<SectionView*, allSidebarItems.size()> sections_{};  // null until it is shown
    QStackedWidget* pages_;
    SignInView* signIn_;
    QSplitter* split_;
    Sidebar* sidebar_;
    QStackedWidget* detail_;
    PlaceholderView* placeholder_;
    ConflictDialog* conflict_ = nullptr;
    std::array<QAction*, allSidebarItems.size()> sectionActions_{};
    std::vector<Command> commands_;
    QAction* checkForUpdates_ = nullptr;
    Subscription followingContent_;
    Subscription followingUpdater_;
};

}  // namespace tovri
