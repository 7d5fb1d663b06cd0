#include "widgets/window/settings/SettingsWindow.h"

#include <QComboBox>
#include <QFile>
#include <QHBoxLayout>
#include <QHideEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QShortcut>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include "widgets/parts/LocalFiles.h"
#include "widgets/parts/forms/StepperBox.h"
#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"
#include "widgets/window/ElidedLabel.h"
#include "widgets/window/settings/SettingsForm.h"
#include "widgets/window/settings/TransferSettingsPage.h"
#include "widgets/window/signin/LinkButton.h"

namespace tovri {
namespace {

constexpr QSize initial{560, 460};

Switch* addSwitch(SettingsForm& form, const char* label, const std::function<void(bool)>& set) {
    auto* toggle = new Switch;
    form.addRow(textOf(label), toggle);
    QObject::connect(toggle, &Switch::toggled, &form, set);
    return toggle;
}

QWidget* makeLine(std::initializer_list<QWidget*> parts) {
    auto* row = new QWidget;
    auto* line = new QHBoxLayout(row);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(measures::spacing);
    for (QWidget* part : parts) line->addWidget(part);
    return row;
}

void showLabel(QLabel& view, const Label& label) {
    view.setText(textOf(label.text));
    setTint(view, label.tint);
}

}  // namespace

SettingsWindow::SettingsWindow(SettingsScreen& screen)
    : screen_(screen), following_(screen.onChange([this] { update(); })) {
    setWindowFlag(Qt::Dialog);
    setWindowTitle(tr("Settings"));
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    auto* tabs = new QTabWidget;
    tabs->setFocusPolicy(Qt::NoFocus);  // its bar has it, but takes this over
    tabs->tabBar()->setFocusPolicy(Qt::TabFocus);
    tabs->setDocumentMode(true);
    const auto add = [tabs](QWidget* page, const SettingsScreen::Tab& tab) {
        tabs->addTab(page, symbolIcon(tab.symbol), titleOf(tab.title));
    };
    add(makeGeneral(), SettingsScreen::general);
    transfers_ = new TransferSettingsPage(screen_.transferSettings());
    add(transfers_, SettingsScreen::transfers);
    add(makeAccount(), SettingsScreen::account);
    add(makeDesktop(), SettingsScreen::desktop);
    column->addWidget(tabs);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, this, &QWidget::close);
    connect(new QShortcut(Qt::CTRL | Qt::Key_W, this), &QShortcut::activated, this, &QWidget::close);
    update();
    resize(initial.expandedTo(sizeHint()));
}

void SettingsWindow::bringForward() {
    setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    raise();
    activateWindow();
}

// --- The tabs ---

QWidget* SettingsWindow::makeGeneral() {
    auto* form = new SettingsForm;
    form->addSection(textOf(SettingsScreen::downloadsSection));
    form->addRow(textOf(SettingsScreen::folderLabel), makeFolderChoice());
    deletes_ = addSwitch(*form, SettingsScreen::deleteLabel,
                         [this](bool deletes) { screen_.setDeleteAfterDownload(deletes); });
    concurrency_ = new StepperBox([this](std::int64_t limit) { screen_.setMaxConcurrentDownloads(limit); });
    form->addRow(textOf(screen_.maxConcurrentDownloads().label), concurrency_);
    conflict_ = new QComboBox;
    for (const ConflictBehavior behavior : conflictBehaviors) conflict_->addItem(textOf(displayName(behavior)));
    connect(conflict_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (index >= 0) screen_.setConflictBehavior(conflictBehaviors.at(static_cast<std::size_t>(index)));
    });
    form->addRow(textOf(SettingsScreen::conflictLabel), conflict_);
    explanation_ = form->addNote();
    form->addSection(textOf(SettingsScreen::syncSection));
    interval_ = new StepperBox([this](std::int64_t minutes) { screen_.setPollInterval(minutes); });
    form->addRow(textOf(screen_.pollInterval().label), interval_);
    form->addSection(textOf(SettingsScreen::foldersSection));
    readsLongFolders_ = addSwitch(*form, SettingsScreen::readLongFoldersLabel,
                                  [this](bool reads) { screen_.setReadLongFolders(reads); });
    return form;
}

QWidget* SettingsWindow::makeFolderChoice() {
    folder_ = new ElidedLabel(Qt::ElideLeft, Qt::AlignRight);
    folder_->setAccessibleName(textOf(SettingsScreen::folderLabel));
    auto* choose = new QPushButton(textOf(SettingsScreen::chooseLabel));
    choose->setAutoDefault(true);
    connect(choose, &QPushButton::clicked, this, &SettingsWindow::chooseFolder);
    QWidget* line = makeLine({folder_, choose});
    line->setFocusProxy(choose);
    return line;
}

QWidget* SettingsWindow::makeAccount() {
    auto* form = new SettingsForm;
    form->addSection(textOf(SettingsScreen::putioSection));
    form->addRow(textOf(SettingsScreen::clientIDLabel), makeClientID());
    status_ = makeLabel();
    form->addRow(textOf(SettingsScreen::statusLabel), status_);
    account_ = new ElidedLabel(Qt::ElideMiddle, Qt::AlignRight);
    form->addRow(textOf(SettingsScreen::accountLabel), account_);
    form->addSection({});
    signOut_ = new QPushButton(titleOf(SettingsScreen::signOutLabel));
    signOut_->setAutoDefault(true);
    setEmphasis(*signOut_, Emphasis::destructive);
    connect(signOut_, &QPushButton::clicked, this, [this] { screen_.signOut(); });
    form->addLine(signOut_, Qt::AlignLeading);
    return form;
}

QWidget* SettingsWindow::makeClientID() {
    clientIDText_ = makeLabel();
    auto* change = new LinkButton(textOf(SettingsScreen::changeLabel));
    connect(change, &QToolButton::clicked, this, [this] {
        screen_.editClientID();
        clientIDField_->setFocus();
        clientIDField_->selectAll();
    });
    clientIDField_ = new QLineEdit;
    clientIDField_->setPlaceholderText(textOf(SettingsScreen::clientIDPrompt));
    clientIDField_->setAccessibleName(textOf(SettingsScreen::clientIDPrompt));
    clientIDField_->setFixedWidth(SettingsScreen::clientIDFieldWidth);
    connect(clientIDField_, &QLineEdit::textChanged, this,
            [this](const QString& text) { screen_.setClientIDText(text.toStdString()); });
    connect(clientIDField_, &QLineEdit::returnPressed, this, [this] { screen_.saveClientID(); });
    auto* save = new QPushButton(textOf(SettingsScreen::saveLabel));
    save->setAutoDefault(true);
    connect(save, &QPushButton::clicked, this, [this] { screen_.saveClientID(); });
    shownClientID_ = makeLine({clientIDText_, change});
    editedClientID_ = makeLine({clientIDField_, save});
    QWidget* both = makeLine({shownClientID_, editedClientID_});
    both->setMinimumHeight(save->sizeHint().height());  // nothing moves when one gives way to the other
    return both;
}

QWidget* SettingsWindow::makeDesktop() {
    auto* form = new SettingsForm;
    form->addSection({});
    keepsAwake_ =
        addSwitch(*form, SettingsScreen::keepsAwakeLabel, [this](bool keeps) { screen_.setKeepsAwake(keeps); });
    notifies_ =
        addSwitch(*form, SettingsScreen::notifiesLabel, [this](bool notifies) { screen_.setNotifies(notifies); });
    runsOn_ = addSwitch(*form, SettingsScreen::runsOnLabel, [this](bool runsOn) { screen_.setRunsOn(runsOn); });
    return form;
}

// --- What is shown ---

void SettingsWindow::update() {
    folder_->setText(QFile::decodeName(screen_.downloadFolder().c_str()));
    deletes_->setChecked(screen_.deleteAfterDownload());
    concurrency_->show(screen_.maxConcurrentDownloads());
    const auto* const behavior = std::ranges::find(conflictBehaviors, screen_.conflictBehavior());
    conflict_->setCurrentIndex(static_cast<int>(behavior - conflictBehaviors.begin()));
    explanation_->setText(textOf(screen_.conflictExplanation()));
    interval_->show(screen_.pollInterval());
    readsLongFolders_->setChecked(screen_.readLongFolders());
    transfers_->update();
    updateAccount();
    keepsAwake_->setChecked(screen_.keepsAwake());
    notifies_->setChecked(screen_.notifies());
    runsOn_->setChecked(screen_.runsOn());
}

void SettingsWindow::updateAccount() {
    shownClientID_->setVisible(!screen_.isEditingClientID());
    editedClientID_->setVisible(screen_.isEditingClientID());
    showLabel(*clientIDText_, screen_.clientID());
    const QString edited = textOf(screen_.clientIDText());
    if (clientIDField_->text() != edited) clientIDField_->setText(edited);
    showLabel(*status_, screen_.status());
    account_->setText(textOf(screen_.signedInAccount()));
    signOut_->setEnabled(screen_.canSignOut());
}

void SettingsWindow::chooseFolder() {
    chooseLocalFiles(*this, SettingsScreen::downloadFolderChooser(),
                     [this](const LocalPaths& chosen) { screen_.setDownloadFolder(chosen.front()); });
}

void SettingsWindow::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (!event->spontaneous()) screen_.appear();
}

void SettingsWindow::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) screen_.disappear();
}

void SettingsWindow::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && status_) updateAccount();
}

}  // namespace tovri
