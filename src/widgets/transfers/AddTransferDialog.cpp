#include "widgets/transfers/AddTransferDialog.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/text/Texts.h"

namespace tovri {
namespace {

constexpr int fieldWidth = 420;

}  // namespace

AddTransferDialog::AddTransferDialog(AddTransferSheet& screen, QWidget* parent)
    : Sheet(textOf(AddTransferSheet::title), parent),
      screen_(screen),
      url_(new QLineEdit),
      error_(new ErrorLine),
      extract_(new QCheckBox(titleOf(AddTransferSheet::extractLabel))) {
    url_->setPlaceholderText(textOf(AddTransferSheet::urlPrompt));
    url_->setAccessibleName(url_->placeholderText());
    url_->setMinimumWidth(fieldWidth);
    body()->addWidget(url_);
    body()->addWidget(error_);
    body()->addWidget(extract_);
    addCancelButton(textOf(AddTransferSheet::cancelLabel));
    add_ = addConfirmButton(textOf(AddTransferSheet::addLabel));
    connect(url_, &QLineEdit::textChanged, this,
            [this](const QString& text) { screen_.setURLText(text.toStdString()); });
    connect(extract_, &QCheckBox::toggled, this, [this](bool extracts) { screen_.setExtract(extracts); });
    connect(this, &Sheet::confirmed, this, [this] { screen_.add(); });
    connect(this, &Sheet::cancelled, this, [this] { screen_.close(); });
    following_ = screen.onChange([this] { update(); });
    update();
    const int length = static_cast<int>(url_->text().size());
    url_->setSelection(length, -length);  // so that its beginning is seen
}

void AddTransferDialog::update() {
    const QString url = textOf(screen_.urlText());
    if (url_->text() != url) url_->setText(url);
    extract_->setChecked(screen_.extract());
    error_->show(textOf(screen_.error().value_or("")));
    setBusy(screen_.isAdding());
    add_->setEnabled(screen_.canAdd());
}

}  // namespace tovri
