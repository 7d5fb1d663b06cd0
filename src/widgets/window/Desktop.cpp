#include "widgets/window/Desktop.h"

#include <QApplication>
#include <QHeaderView>
#include <QPushButton>

#include "screens/window/ClosingQuestion.h"
#include "widgets/automation/SyncRulesView.h"
#include "widgets/downloads/DownloadsView.h"
#include "widgets/feeds/RSSFeedsView.h"
#include "widgets/files/FileBrowserView.h"
#include "widgets/parts/sheets/Sheet.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/transfers/TransfersView.h"

namespace tovri {

Desktop::Desktop(Surroundings surroundings, Ending::Done ended)
    : surroundings_(std::move(surroundings)),
      ended_(std::move(ended)),
      preferences_(surroundings_.defaults),
      notices_(surroundings_.platform.loop),
      workspace_(surroundings_.workspace, notices_),
      content_(surroundings_.app.authManager(), surroundings_.app.downloadManager(),
               surroundings_.app.fileBrowserState(),
               {surroundings_.platform.loop, surroundings_.platform.volumes, surroundings_.entries,
                surroundings_.platform.clock}),
      foot_({surroundings_.app.account(), surroundings_.app.downloadManager(), surroundings_.app.preferences(),
             surroundings_.platform.loop, surroundings_.platform.files, surroundings_.platform.volumes}),
      gate_(surroundings_.app.authManager(), surroundings_.app.account(), surroundings_.platform.loop,
            surroundings_.platform.log),
      signIn_(surroundings_.app.authManager(), gate_, workspace_, surroundings_.hosts,
              [&queue = surroundings_.app.downloadManager()] {
                  return queue.downloads().count({DownloadStatus::queued, DownloadStatus::downloading});
              }),
      settingsScreen_(surroundings_.app.preferences(), surroundings_.app.authManager(), preferences_,
                      &surroundings_.app.account()),
      files_({surroundings_.app.fileBrowserState(), *surroundings_.app.api(), surroundings_.app.downloadManager(),
              surroundings_.app.preferences(), workspace_, surroundings_.collation, surroundings_.platform.random,
              notices_, [this] { content_.select(SidebarItem::downloads); }, surroundings_.platform.clock}),
      transfers_(*surroundings_.app.api(), workspace_, surroundings_.platform.loop, surroundings_.platform.random),
      downloads_({surroundings_.app.downloadManager(), surroundings_.app.speedControl(), preferences_, workspace_,
                  notices_, surroundings_.collation, surroundings_.platform.loop, surroundings_.platform.clock,
                  surroundings_.platform.random, surroundings_.hosts}),
      rules_(surroundings_.app.syncManager(), *surroundings_.app.api(),
             {surroundings_.platform.loop, surroundings_.platform.clock, surroundings_.platform.random,
              surroundings_.platform.folderAccess, surroundings_.platform.folders.home}),
      feeds_(*surroundings_.app.api(), surroundings_.platform.random),
      window_({content_, foot_, signIn_, surroundings_.app.updater(), notices_},
              [this](SidebarItem item) { return makeSection(item); }),
      memory_(surroundings_.defaults, window_, window_.parts()),
      settings_(settingsScreen_),
      presence_({surroundings_.platform.loop, surroundings_.inhibitor, surroundings_.notifications,
                 [] { return QApplication::activeWindow() != nullptr; }},
                surroundings_.app.downloadManager(), surroundings_.app.fileBrowserState(), preferences_),
      asking_(gate_.onChange([this] { askAboutAccount(); })),
      leaving_(surroundings_.app.authManager().onChange([this](AuthManager::Change change) {
          if (change != AuthManager::Change::clientID) dropQuestions();
      })),
      ending_(surroundings_.app) {
    memory_.keep(window_.details());
    connect(&window_, &MainWindow::settingsWanted, &settings_, &SettingsWindow::bringForward);
    connect(&window_, &MainWindow::logWanted, this, &Desktop::showLog);
    connect(&window_, &MainWindow::closingWanted, this, &Desktop::closeWindow);
    connect(&window_, &MainWindow::quitWanted, this, &Desktop::quitUnlessUploading);
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
    connect(tray_.get(), &TrayIcon::quitWanted, this, &Desktop::quitUnlessUploading);
}

void Desktop::showLog() {
    if (!log_) log_ = new LogWindow(surroundings_.log);
    log_->show();
    log_->raise();
    log_->activateWindow();
}

void Desktop::receive(std::string_view address) {
    if (ending_.hasBegun()) return;
    if (!address.empty()) (void)gate_.receive(address);
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
            return quitUnlessUploading();
    }
}

// One at a time of each kind, which `open` names while it is there.
Sheet* Desktop::makeQuestion(Sheet*& open, const QString& title, const QString& sentence) {
    open = new Sheet(title, &window_);
    open->setAttribute(Qt::WA_DeleteOnClose);
    open->setSentence(sentence);
    open->addCancelButton(textOf("Cancel"));
    connect(open, &QDialog::finished, this, [&open] { open = nullptr; });
    connect(open, &Sheet::cancelled, open, [sheet = open] { sheet->done(0); });
    return open;
}

void Desktop::askAboutClosing() {
    if (closing_) return;
    Sheet* sheet = makeQuestion(closing_, textOf(ClosingQuestion::title), textOf(ClosingQuestion::text));
    QPushButton* quitButton = sheet->addConfirmButton(textOf(ClosingQuestion::quitLabel), Emphasis::none);
    QPushButton* stayButton = sheet->addConfirmButton(textOf(ClosingQuestion::runOnLabel));
    stayButton->setDefault(true);
    const auto answer = [this](ClosedWindow what) {
        preferences_.setClosedWindow(what);
        closing_->done(0);
        closeWindow();
    };
    connect(quitButton, &QPushButton::clicked, this, [answer] { answer(ClosedWindow::quits); });
    connect(stayButton, &QPushButton::clicked, this, [answer] { answer(ClosedWindow::runsOn); });
    sheet->open();
}

// The button that changes nothing is the one that Return and Escape press.
void Desktop::askAboutAccount() {
    dismiss(account_);
    if (!gate_.question()) return;
    window_.bringForward();
    account_ = makeConfirmation(&window_, textOf(gate_.question()->title), textOf(gate_.question()->text),
                                textOf(SignInGate::Question::confirmLabel), textOf(SignInGate::Question::cancelLabel));
    account_->setAttribute(Qt::WA_DeleteOnClose);
    connect(account_, &Sheet::cancelled, this, [this] { gate_.answer(SignInGate::Choice::ignore); });
    connect(account_, &Sheet::confirmed, this, [this] { gate_.answer(SignInGate::Choice::signIn); });
    account_->open();
}

// They are about files, transfers and feeds of the account that was signed in.
void Desktop::dropQuestions() {
    for (ActionDialogs* dialogs : {&files_.dialogs(), &transfers_.dialogs(), &feeds_.dialogs()}) dialogs->clear();
}

void Desktop::hideWindows() {
    if (log_) log_->close();
    settings_.hide();
    window_.hide();
}

void Desktop::quitUnlessUploading() {
    const std::size_t pending = surroundings_.app.fileBrowserState().pendingUploads().size();
    if (pending == 0) return quit();
    window_.bringForward();
    if (quitting_) return;
    Sheet* sheet = makeQuestion(quitting_, textOf(QuittingQuestion::title), textOf(QuittingQuestion::text(pending)));
    QPushButton* quitButton = sheet->addConfirmButton(textOf(QuittingQuestion::quitLabel), Emphasis::none);
    connect(quitButton, &QPushButton::clicked, this, [this] {
        quitting_->done(0);
        quit();
    });
    sheet->open();
}

void Desktop::quit() {
    if (ending_.hasBegun()) return;
    emit ending();
    hideWindows();
    if (tray_) tray_->hide();
    ending_.begin(ended_);
}

}  // namespace tovri
