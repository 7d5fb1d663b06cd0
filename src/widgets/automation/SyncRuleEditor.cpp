#include "widgets/automation/SyncRuleEditor.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>

#include "widgets/files/FolderBrowser.h"
#include "widgets/parts/LocalFiles.h"
#include "widgets/parts/forms/Form.h"
#include "widgets/parts/forms/StepperBox.h"
#include "widgets/parts/text/BreakableText.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr int sheetWidth = 480;
constexpr qsizetype longestNotice = 400;  // characters

}  // namespace

SyncRuleEditor::SyncRuleEditor(SyncRuleEditorSheet& screen, QWidget* parent)
    : Sheet(textOf(screen.title()), parent),
      screen_(screen),
      remoteFolder_(new FolderBrowser(screen.remoteFolder(), textOf(SyncRuleEditorSheet::remoteSection))),
      localFolder_(new QLineEdit),
      choose_(new QPushButton(titleOf(SyncRuleEditorSheet::chooseLabel))),
      deletes_(new QCheckBox(titleOf(SyncRuleEditorSheet::deleteLabel))),
      interval_(new StepperBox([&screen](std::int64_t minutes) { screen.setPollInterval(minutes); })),
      notice_(makeLabel()) {
    arrange();
    connectParts();
    update();
    fitInto(*parent);
    following_ = screen.onChange([this] { update(); });
}

void SyncRuleEditor::arrange() {
    setMinimumWidth(sheetWidth);
    QFormLayout* form = makeForm();
    body()->addLayout(form);
    addSection(*form, textOf(SyncRuleEditorSheet::remoteSection));
    form->addRow(remoteFolder_);
    addSection(*form, textOf(SyncRuleEditorSheet::localSection));
    localFolder_->setReadOnly(true);
    localFolder_->setPlaceholderText(textOf(SyncRuleEditorSheet::localFolderPrompt));
    localFolder_->setAccessibleName(textOf(SyncRuleEditorSheet::localSection));
    choose_->setAutoDefault(false);
    auto* folderLine = new QHBoxLayout;
    folderLine->setSpacing(measures::spacing);
    folderLine->addWidget(localFolder_, 1);
    folderLine->addWidget(choose_);
    form->addRow(folderLine);
    addSection(*form, textOf(SyncRuleEditorSheet::optionsSection));
    form->addRow(deletes_);
    form->addRow(interval_);
    notice_->setTextFormat(Qt::PlainText);
    notice_->setWordWrap(true);
    form->addRow(notice_);
    addCancelButton(textOf(SyncRuleEditorSheet::cancelLabel));
    confirm_ = addConfirmButton(textOf(screen_.confirmLabel()));
}

// The folders have the room that the window leaves.
void SyncRuleEditor::fitInto(const QWidget& window) {
    adjustSize();
    resize(width(), std::min(height(), window.height() - 2 * measures::spacing));
}

void SyncRuleEditor::connectParts() {
    connect(choose_, &QPushButton::clicked, this, &SyncRuleEditor::chooseLocalFolder);
    connect(deletes_, &QCheckBox::clicked, this, [this](bool deletes) { screen_.setDeleteAfterDownload(deletes); });
    connect(this, &Sheet::confirmed, this, [this] { screen_.confirm(); });
    connect(this, &Sheet::cancelled, this, [this] { screen_.close(); });
}

void SyncRuleEditor::chooseLocalFolder() {
    chooseLocalFiles(*this, SyncRuleEditorSheet::localFolderChooser(),
                     [this](const LocalPaths& folders) { screen_.setLocalFolder(folders.front()); });
}

void SyncRuleEditor::update() {
    if (!screen_.isOpen()) return;
    localFolder_->setText(textOf(screen_.localFolderPath()));
    setPlainToolTip(*localFolder_, localFolder_->text());
    deletes_->setChecked(screen_.deleteAfterDownload());
    interval_->show(screen_.pollInterval());
    notice_->setText(breakable(textOf(screen_.notice()), longestNotice));
    notice_->setVisible(!notice_->text().isEmpty());
    confirm_->setEnabled(screen_.canConfirm());
}

}  // namespace tovri
