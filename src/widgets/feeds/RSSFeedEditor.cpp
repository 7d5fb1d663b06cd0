#include "widgets/feeds/RSSFeedEditor.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/forms/Form.h"
#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

constexpr int fieldWidth = 300;

// Not told to the screen, which has it from there.
void fill(QLineEdit& field, const std::string& text) {
    const QSignalBlocker silence(field);
    const QString shown = textOf(text);
    if (field.text() != shown) field.setText(shown);
}

void fill(QCheckBox& option, bool isOn) {
    const QSignalBlocker silence(option);
    option.setChecked(isOn);
}

}  // namespace

RSSFeedEditor::RSSFeedEditor(RSSFeedEditorSheet& screen, QWidget* parent)
    : Sheet(textOf(screen.title()), parent),
      screen_(screen),
      title_(new QLineEdit),
      url_(new QLineEdit),
      keyword_(new QLineEdit),
      skipsExisting_(new QCheckBox(titleOf(RSSFeedEditorSheet::skipExistingLabel))),
      deletesOld_(new QCheckBox(titleOf(RSSFeedEditorSheet::deleteOldLabel))),
      error_(new ErrorLine) {
    arrange();
    update();
    connectParts();
    following_ = screen.onChange([this] { update(); });
}

void RSSFeedEditor::arrange() {
    QFormLayout* form = makeForm();
    body()->addLayout(form);
    addSection(*form, textOf(RSSFeedEditorSheet::feedSection));
    addField(*form, textOf(RSSFeedEditorSheet::titleLabel), title_);
    addField(*form, textOf(RSSFeedEditorSheet::urlLabel), url_);
    addSection(*form, textOf(RSSFeedEditorSheet::filterSection));
    addField(*form, textOf(RSSFeedEditorSheet::keywordLabel), keyword_);
    addNote(*form, textOf(RSSFeedEditorSheet::keywordNote));
    addSection(*form, textOf(RSSFeedEditorSheet::optionsSection));
    form->addRow(skipsExisting_);
    form->addRow(deletesOld_);
    body()->addWidget(error_);
    url_->setMinimumWidth(fieldWidth);
    addCancelButton(textOf(RSSFeedEditorSheet::cancelLabel));
    confirm_ = addConfirmButton(textOf(screen_.confirmLabel()));
}

void RSSFeedEditor::connectParts() {
    for (QLineEdit* field : {title_, url_, keyword_})
        connect(field, &QLineEdit::textChanged, this, &RSSFeedEditor::takeFields);
    for (QCheckBox* option : {skipsExisting_, deletesOld_})
        connect(option, &QCheckBox::toggled, this, &RSSFeedEditor::takeFields);
    connect(this, &Sheet::confirmed, this, [this] { screen_.confirm(); });
    connect(this, &Sheet::cancelled, this, [this] { screen_.close(); });
}

void RSSFeedEditor::takeFields() {
    RSSFeedEditorSheet::Fields fields = screen_.fields();
    fields.title = title_->text().toStdString();
    fields.rssURL = url_->text().toStdString();
    fields.keyword = keyword_->text().toStdString();
    fields.dontProcessWholeFeed = skipsExisting_->isChecked();
    fields.deleteOldFiles = deletesOld_->isChecked();
    screen_.setFields(std::move(fields));
}

void RSSFeedEditor::update() {
    if (!screen_.isOpen()) return;
    const RSSFeedEditorSheet::Fields fields = screen_.fields();
    fill(*title_, fields.title);
    fill(*url_, fields.rssURL);
    fill(*keyword_, fields.keyword);
    fill(*skipsExisting_, fields.dontProcessWholeFeed);
    fill(*deletesOld_, fields.deleteOldFiles);
    error_->show(textOf(screen_.error().value_or("")));
    setBusy(screen_.isSaving());
    confirm_->setEnabled(screen_.canConfirm());
}

}  // namespace tovri
