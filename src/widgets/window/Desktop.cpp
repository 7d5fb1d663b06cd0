#include "widgets/window/Desktop.h"

#include <QApplication>
#include <QHeaderView>
#include <QPushButton>

#include "screens/window/ClosingQuestion.h"
#include "widgets/automation/SyncRulesView.h"
#include "widgets/downloads/DownloadsView.h"
#include "widgets/feeds/RSSFeedsView.h"
#include "widgets/files/FileBrowserView.h"
#include "widgets/parts/Sheet.h"
#include "widgets/parts/Texts.h"
#include "widgets/transfers/TransfersView.h"

namespace tovri {

Desktop::Desktop(Surroundings surroundings, Ending::Done ended)
    : surroundings_(std::move(surroundings)),
      ended_(std::move(ended)),
      preferences_(surroundings_.defaults),
      notices_(surroundings_.platform.loop),
      workspace_(surroundings_.workspace, notices_),
      content_(surroundings_.app.authManager(), surroundings_.app.downloadManager(),
               surroundings_.app.fileBrowserState()),
      signIn_(surroundings_.app.authManager(), workspace_, surroundings_.hosts),
      settingsScreen_(surroundings_.app.preferences(), surroundings_.app.authManager(), preferences_),
      files_({surroundings_.app.fileBrowserState(), *surroundings_.app.api(), surroundings_.app.downloadManager(),
              surroundings_.app.preferences(), workspace_, surroundings_.collation, surroundings_.platform.random,
              notices_, [this] { content_.select(SidebarItem::downloads); }}),
      transfers_(*surroundings_.app.api(), workspace_, surroundings_.platform),
      downloads_({surroundings_.app.downloadManager(), surroundings_.app.speedControl(), workspace_, notices_,
                  surroundings_.collation, surroundings_.platform}),
      rules_(surroundings_.app.syncManager(), *surroundings_.app.api(), surroundings_.platform),
      feeds_(*surroundings_.app.api(), surroundings_.platform.random),
      window_({content_, signIn_, surroundings_.app.updater(), notices_},
              [this](SidebarItem item) { return makeSection(item); }),
      memory_(surroundings_.defaults, window_, window_.parts()),
      settings_(settingsScreen_),
      presence_({surroundings_.platform.loop, surroundings_.inhibitor, surroundings_.notifications,
                 [] { return QApplication::activeWindow() != nullptr; }},
                surroundings_.app.downloadManager(), surroundings_.app.fileBrowserState(), preferences_),
      ending_(surroundings_.app) {
    connect(&window_, &MainWindow::settingsWanted, &settings_, &SettingsWindow::bringForward);
    connect(&window_, &MainWindow::logWanted, this, &Desktop::showLog);
    connect(&window_, &MainWindow::closingWanted, this, &Desktop::closeWindow);
    connect(&window_, &MainWindow::quitWanted, this, &Desktop::quit);
}

void Desktop::tellUnsavedSettings(const std::string& reason) {
    notices_.tell({.kind = Notice::Kind::failure, .text = "The settings could not be saved. " + reason});
}

SectionView* Desktop::makeSection(SidebarItem item) {
    switch (item) {
        case SidebarItem::files:
            return new FileBrowserView(files_);
        case SidebarItem::transfers:
            return new TransfersView(transfers_);
        case SidebarItem::downloads:
            return new DownloadsView(downloads_);
        case SidebarItem::rss:
            return new RSSFeedsView(feeds_);
        case SidebarItem::sync: {
            auto* view = new SyncRulesView(rules_);
            memory_.keep(*view->findChild<QHeaderView*>(), "rules");
            return view;
        }
    }
    return nullptr;
}

void Desktop::open() {
    window_.bringForward();
    showTray();
}

// A panel may come up later than the program, or go.
void Desktop::showTray() {
    if (tray_ || !surroundings_.hasTray()) return;
    tray_ = std::make_unique<TrayIcon>(surroundings_.app.downloadManager(), surroundings_.app.speedControl());
    connect(tray_.get(), &TrayIcon::showWanted, &window_, &MainWindow::bringForward);
    connect(tray_.get(), &TrayIcon::quitWanted, this, &Desktop::quit);
}

void Desktop::showLog() {
    if (!log_) log_ = new LogWindow(surroundings_.log);
    log_->show();
    log_->raise();
    log_->activateWindow();
}

void Desktop::receive(std::string_view address) {
    if (ending_.hasBegun()) return;
    if (!address.empty()) (void)surroundings_.app.authManager().handleCallback(address);
    AppDelegate::applicationShouldHandleReopen(window_.isVisible(), [this] { window_.show(); });
    window_.bringForward();
}

// --- Closing and ending ---

void Desktop::closeWindow() {
    showTray();
    switch (closingStep(surroundings_.hasTray(), preferences_.closedWindow())) {
        case ClosingStep::hide:
            return hideWindows();
        case ClosingStep::ask:
            return askAboutClosing();
        case ClosingStep::quit:
            return quit();
    }
}

void Desktop::askAboutClosing() {
    if (closing_) return;
    closing_ = new Sheet(textOf(ClosingQuestion::title), &window_);
    closing_->setAttribute(Qt::WA_DeleteOnClose);
    closing_->setSentence(textOf(ClosingQuestion::text));
    closing_->addCancelButton(textOf(ClosingQuestion::cancelLabel));
    QPushButton* quitButton = closing_->addConfirmButton(textOf(ClosingQuestion::quitLabel), Emphasis::none);
    QPushButton* stayButton = closing_->addConfirmButton(textOf(ClosingQuestion::runOnLabel));
    stayButton->setDefault(true);
    connect(closing_, &QObject::destroyed, this, [this] { closing_ = nullptr; });
    connect(closing_, &Sheet::cancelled, closing_, [sheet = closing_] { sheet->done(0); });
    const auto answer = [this](ClosedWindow what) {
        preferences_.setClosedWindow(what);
        closing_->done(0);
        closeWindow();
    };
    connect(quitButton, &QPushButton::clicked, this, [answer] { answer(ClosedWindow::quits); });
    connect(stayButton, &QPushButton::clicked, this, [answer] { answer(ClosedWindow::runsOn); });
    closing_->open();
}

void Desktop::hideWindows() {
    if (log_) log_->close();
    settings_.hide();
    window_.hide();
}

void Desktop::quit() {
    if (ending_.hasBegun()) return;
    emit ending();
    hideWindows();
    if (tray_) tray_->hide();
    ending_.begin(ended_);
}

}  // namespace tovri
