#include "widgets/window/MainWindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QMenuBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "widgets/parts/ContentArea.h"
#include "widgets/parts/PlaceholderView.h"
#include "widgets/parts/SectionView.h"
#include "widgets/parts/bars/NoticeBar.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/window/ConflictDialog.h"
#include "widgets/window/help/KeyboardHelp.h"
#include "widgets/window/sidebar/Sidebar.h"
#include "widgets/window/signin/SignInView.h"

namespace tovri {

MainWindow::MainWindow(const Screens& screens, MakeSection makeSection)
    : screens_(screens),
      makeSection_(std::move(makeSection)),
      pages_(new QStackedWidget),
      signIn_(new SignInView(screens.signIn)),
      split_(new QSplitter),
      sidebar_(new Sidebar(screens.content, screens.foot)),
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
    setCentralWidget(makeCentre());
    addMenus();
    showContent();
}

// What is on view, and at its foot what there is to say of what has just happened.
QWidget* MainWindow::makeCentre() {
    auto* centre = new QWidget;
    auto* column = new QVBoxLayout(centre);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(pages_, 1);
    column->addWidget(new NoticeBar(screens_.notices));
    return centre;
}

// --- Menus ---

void MainWindow::addMenus() {
    addFileMenu();
    addViewMenu();
    addGoMenu();
    addHelpMenu();
}

void MainWindow::addFileMenu() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    QAction* settings =
        file->addAction(tr("&Settings…"), QKeySequence(Qt::CTRL | Qt::Key_Comma), this, &MainWindow::settingsWanted);
    settings->setMenuRole(QAction::PreferencesRole);
    file->addSeparator();
    addCommand(*file, SectionCommand::moveTo, tr("&Move to…"), {Qt::CTRL | Qt::SHIFT | Qt::Key_M});
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
    addCommand(*view, SectionCommand::refresh, tr("&Refresh"), {Qt::Key_F5});
    addCommand(*view, SectionCommand::find, tr("&Find"), {Qt::CTRL | Qt::Key_F});
    view->addSeparator();
    addSwitch(*view, SectionCommand::showBatches, tr("&Batches"));
    QMenu* finished = view->addMenu(tr("&Sort Finished"));
    addSwitch(*finished, SectionCommand::orderAsQueue, tr("As in the &Queue"));
    addSwitch(*finished, SectionCommand::orderByTime, tr("By &Time"));
    addSwitch(*finished, SectionCommand::orderByName, tr("By &Name"));
    addSwitch(*finished, SectionCommand::orderBySize, tr("By &Size"));
    addSwitch(*finished, SectionCommand::orderByState, tr("By S&tate"));
    view->addSeparator();
    addDetailsSwitch(*view);
}

void MainWindow::addDetailsSwitch(QMenu& view) {
    QAction* action = view.addAction(tr("&Details"), QKeySequence(Qt::Key_F9));
    action->setCheckable(true);
    action->setAutoRepeat(false);
    connect(action, &QAction::toggled, &details_, &DetailsSetting::setShown);
    connect(&details_, &DetailsSetting::changed, action, [this, action] { action->setChecked(details_.isShown()); });
    commands_.push_back({SectionCommand::details, action});
}

void MainWindow::addGoMenu() {
    QMenu* go = menuBar()->addMenu(tr("&Go"));
    addCommand(*go, SectionCommand::goBack, tr("&Back"), {Qt::ALT | Qt::Key_Left});
    addCommand(*go, SectionCommand::goForward, tr("&Forward"), {Qt::ALT | Qt::Key_Right});
    addCommand(*go, SectionCommand::goUp, tr("&Up"), {Qt::ALT | Qt::Key_Up, Qt::Key_Backspace});
}

void MainWindow::addCommand(QMenu& menu, SectionCommand command, const QString& title,
                            const QList<QKeySequence>& shortcuts) {
    QAction* action = menu.addAction(title, this, [this, command] {
        if (SectionView* shown = shownSection()) shown->perform(command);
    });
    action->setShortcuts(shortcuts);
    action->setAutoRepeat(false);
    commands_.push_back({command, action});
}

void MainWindow::addSwitch(QMenu& menu, SectionCommand command, const QString& title) {
    addCommand(menu, command, title, {});
    commands_.back().action->setCheckable(true);
}

void MainWindow::addHelpMenu() {
    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(tr("&Keyboard Shortcuts"), QKeySequence(Qt::CTRL | Qt::Key_Question), this,
                    &MainWindow::showKeyboardHelp);
    help->addAction(tr("&Log"), this, &MainWindow::logWanted);
    help->addSeparator();
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
    updateCommands();
    checkForUpdates_->setEnabled(screens_.updater.canCheckForUpdates());
}

void MainWindow::updateCommands() {
    const SectionView* shown = shownSection();
    for (const Command& each : commands_) {
        each.action->setEnabled(shown && shown->can(each.command));
        // The details are the window's own, on whatever section.
        if (each.command != SectionCommand::details)
            each.action->setChecked(shown && each.action->isCheckable() && shown->isOn(each.command));
    }
}

void MainWindow::showKeyboardHelp() {
    (new KeyboardHelp(*menuBar(), this))->open();
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
        section->followDetails(details_);
        detail_->addWidget(section);
        connect(section, &SectionView::commandsChanged, this, &MainWindow::updateCommands);
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
    auto* content = detail_->currentWidget()->findChild<ContentArea*>();
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
