#include "widgets/window/MainWindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QSplitter>
#include <QStackedWidget>

#include "widgets/parts/ContentArea.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/SectionView.h"
#include "widgets/parts/Sheet.h"
#include "widgets/parts/Texts.h"
#include "widgets/window/ConflictDialog.h"
#include "widgets/window/Sidebar.h"
#include "widgets/window/SignInView.h"

namespace tovri {

MainWindow::MainWindow(const Screens& screens, MakeSection makeSection)
    : screens_(screens),
      makeSection_(std::move(makeSection)),
      pages_(new QStackedWidget),
      signIn_(new SignInView(screens.signIn)),
      split_(new QSplitter),
      sidebar_(new Sidebar(screens.content)),
      detail_(new QStackedWidget),
      placeholder_(new PlaceholderView),
      followingContent_(screens.content.onChange([this](ContentScreen::Change change) { follow(change); })),
      followingUpdater_(screens.updater.onChange([this] { updateMenus(); })) {
    setMinimumSize(smallest);
    resize(initial);
    detail_->addWidget(placeholder_);
    split_->addWidget(sidebar_);
    split_->addWidget(detail_);
    split_->setStretchFactor(1, 1);
    split_->setChildrenCollapsible(false);
    split_->setHandleWidth(1);
    // From right to left a splitter lays its parts out one pixel too far to the right.
    if (split_->isRightToLeft()) split_->setContentsMargins(1, 0, 0, 0);
    split_->setSizes({ContentScreen::sidebarIdealWidth, initial.width() - ContentScreen::sidebarIdealWidth});
    pages_->addWidget(signIn_);
    pages_->addWidget(split_);
    setCentralWidget(pages_);
    addMenus();
    showContent();
}

// --- Menus ---

void MainWindow::addMenus() {
    addFileMenu();
    addViewMenu();
    addHelpMenu();
}

void MainWindow::addFileMenu() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* settings =
        file->addAction(tr("&Settings…"), QKeySequence(Qt::CTRL | Qt::Key_Comma), this, &MainWindow::settingsWanted);
    settings->setMenuRole(QAction::PreferencesRole);
    file->addSeparator();
    file->addAction(tr("&Close Window"), QKeySequence(Qt::CTRL | Qt::Key_W), this, &QWidget::close);
    QAction* quit = file->addAction(tr("&Quit"), QKeySequence(Qt::CTRL | Qt::Key_Q), this, &MainWindow::quitWanted);
    quit->setMenuRole(QAction::QuitRole);
}

void MainWindow::addViewMenu() {
    QMenu* view = menuBar()->addMenu(tr("&View"));
    auto* group = new QActionGroup(this);
    for (const SidebarItem item : allSidebarItems) {
        const int digit = shortcutDigit(item);
        QAction* action = view->addAction(titleOf(title(item)), QKeySequence(Qt::CTRL | Qt::Key(Qt::Key_0 + digit)),
                                          this, [this, digit] { screens_.content.selectByDigit(digit); });
        action->setCheckable(true);
        group->addAction(action);
        sectionActions_[static_cast<std::size_t>(item)] = action;
    }
    view->addSeparator();
    refresh_ = view->addAction(tr("&Refresh"), QKeySequence(Qt::Key_F5), this, [this] {
        if (SectionView* shown = shownSection()) shown->refresh();
    });
    refresh_->setAutoRepeat(false);
    find_ = view->addAction(tr("&Find"), QKeySequence(Qt::CTRL | Qt::Key_F), this, [this] {
        if (SectionView* shown = shownSection()) shown->focusSearch();
    });
}

void MainWindow::addHelpMenu() {
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    QAction* about = help->addAction(tr("&About Tovri"), this, &MainWindow::showAbout);
    about->setMenuRole(QAction::AboutRole);
    checkForUpdates_ = help->addAction(tr("Check for &Updates…"), this, [this] { screens_.updater.checkForUpdates(); });
    checkForUpdates_->setMenuRole(QAction::ApplicationSpecificRole);
}

void MainWindow::updateMenus() {
    const bool shows = screens_.content.showsSections();
    const std::optional<SidebarItem> selected = screens_.content.selectedItem();
    for (const SidebarItem item : allSidebarItems) {
        QAction* action = sectionActions_[static_cast<std::size_t>(item)];
        action->setEnabled(shows);
        action->setChecked(shows && selected == item);
    }
    const SectionView* shown = shownSection();
    refresh_->setEnabled(shown && shown->canRefresh());
    find_->setEnabled(shown && shown->canSearch());
    checkForUpdates_->setEnabled(screens_.updater.canCheckForUpdates());
}

void MainWindow::showAbout() {
    Sheet* sheet = makeAlert(this, tr("Tovri %1").arg(QCoreApplication::applicationVersion()),
                             textOf(SignInScreen::tagline), tr("OK"));
    sheet->setAttribute(Qt::WA_DeleteOnClose);
    connect(sheet, &Sheet::cancelled, sheet, [sheet] { sheet->done(0); });
    sheet->open();
}

// --- Content ---

void MainWindow::follow(ContentScreen::Change change) {
    switch (change) {
        case ContentScreen::Change::content:
            return showContent();
        case ContentScreen::Change::selection:
            showSection();
            return focusRows();
        case ContentScreen::Change::conflict:
            return showConflict();
        case ContentScreen::Change::badge:
        case ContentScreen::Change::uploads:
            return;
    }
}

void MainWindow::showContent() {
    const bool shows = screens_.content.showsSections();
    if (shows) showSection();
    pages_->setCurrentWidget(shows ? static_cast<QWidget*>(split_) : signIn_);
    setWindowTitle(textOf(screens_.content.windowTitle()));
    updateMenus();
    if (shows) sidebar_->setFocus();
}

void MainWindow::showSection() {
    const std::optional<SidebarItem> item = screens_.content.selectedItem();
    if (const std::optional<Placeholder> placeholder = screens_.content.placeholder()) placeholder_->show(*placeholder);
    detail_->setCurrentWidget(item ? static_cast<QWidget*>(section(*item)) : placeholder_);
    setWindowTitle(textOf(screens_.content.windowTitle()));
    updateMenus();
}

SectionView* MainWindow::section(SidebarItem item) {
    SectionView*& section = sections_[static_cast<std::size_t>(item)];
    if (!section) {
        section = makeSection_(item);
        detail_->addWidget(section);
    }
    return section;
}

SectionView* MainWindow::shownSection() const {
    const std::optional<SidebarItem> item = screens_.content.selectedItem();
    if (!item || !screens_.content.showsSections()) return nullptr;
    return sections_[static_cast<std::size_t>(*item)];
}

// From another section, the focus comes along to the first button of the toolbar, which the space key would press.
void MainWindow::focusRows() {
    auto* content = detail_->currentWidget()->findChild<ContentArea*>(QString(), Qt::FindDirectChildrenOnly);
    if (content && detail_->isAncestorOf(focusWidget())) content->takeFocus();
}

// The sheet belongs to the window: it comes and goes with it.
void MainWindow::showConflict() {
    const std::optional<ConflictSheet>& sheet = screens_.content.conflictSheet();
    const bool isWanted = sheet && isVisible();
    if (conflict_ && isWanted && conflict_->conflict() == sheet->id) return conflict_->update(*sheet);
    if (conflict_) {
        conflict_->hide();
        std::exchange(conflict_, nullptr)->deleteLater();
    }
    if (!isWanted) return;
    conflict_ = new ConflictDialog(screens_.content, this);
    conflict_->show();
}

// --- The window itself ---

void MainWindow::bringForward() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

void MainWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    showConflict();
}

void MainWindow::hideEvent(QHideEvent* event) {
    QMainWindow::hideEvent(event);
    if (!event->spontaneous()) showConflict();
}

void MainWindow::closeEvent(QCloseEvent* event) {
    event->ignore();
    emit closingWanted();
}

}  // namespace tovri
