#include "widgets/parts/sheets/Sheet.h"

#include <QDialogButtonBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "widgets/parts/TurningSign.h"
#include "widgets/parts/text/BreakableText.h"
#include "widgets/parts/text/ScrolledText.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int messageWidth = 400;
constexpr qsizetype longestTitle = 240;  // characters
constexpr qsizetype longestSentence = 20'000;
constexpr qsizetype longestError = 200;  // which does not scroll

QLabel* makeText() {
    auto* label = new TextLabel;
    label->setWordWrap(true);
    return label;
}

}  // namespace

Sheet::Sheet(const QString& title, QWidget* parent)
    : BoundDialog(title, parent),
      title_(makeText()),
      sentence_(new ScrolledText),
      body_(new QVBoxLayout),
      turning_(new TurningSign),
      buttons_(new QDialogButtonBox) {
    auto* column = new QVBoxLayout(this);
    const int margin = measures::sheetMargin + measures::gap;
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(measures::spacing);
    column->setSizeConstraint(QLayout::SetMinimumSize);
    title_->setText(breakable(title, longestTitle));
    title_->setFont(semiboldFont(font()));
    sentence_->hide();
    body_->setSpacing(measures::spacing);
    column->addWidget(title_);
    column->addWidget(sentence_);
    column->addLayout(body_, 1);
    column->addSpacing(measures::spacing);
    auto* ending = new QHBoxLayout;
    ending->setSpacing(measures::spacing);
    ending->addStretch();
    ending->addWidget(turning_);
    ending->addWidget(buttons_);
    column->addLayout(ending);
    turning_->hide();
}

void Sheet::setBusy(bool isBusy) {
    turning_->setVisible(isBusy);
}

void Sheet::setSentence(const QString& text) {
    sentence_->setText(breakable(text, longestSentence));
    sentence_->setVisible(!text.isEmpty());
    sentence_->setMinimumWidth(messageWidth);
    setAccessibleDescription(text);
}

QPushButton* Sheet::addCancelButton(const QString& title) {
    QPushButton* button = buttons_->addButton(titleOf(title.toStdString()), QDialogButtonBox::RejectRole);
    button->setIcon({});
    connect(button, &QPushButton::clicked, this, &Sheet::cancelled);
    return button;
}

QPushButton* Sheet::addConfirmButton(const QString& title, Emphasis emphasis) {
    QPushButton* button = buttons_->addButton(titleOf(title.toStdString()), QDialogButtonBox::AcceptRole);
    button->setIcon({});
    setEmphasis(*button, emphasis);
    button->setDefault(emphasis != Emphasis::destructive);
    connect(button, &QPushButton::clicked, this, &Sheet::confirmed);
    return button;
}

void Sheet::reject() {
    emit cancelled();
}

void dismiss(QPointer<Sheet>& sheet) {
    if (sheet == nullptr) return;
    Sheet* gone = std::exchange(sheet, nullptr);
    gone->disconnect();
    gone->hide();
    gone->deleteLater();
}

ErrorLine::ErrorLine(QFont (*textFont)(const QFont& base), QWidget* parent)
    : QWidget(parent), textFont_(textFont), symbol_(makeLabel()), text_(makeText()) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(0, 0, 0, 0);
    line->setSpacing(measures::gap);
    line->addWidget(symbol_, 0, Qt::AlignTop);
    line->addWidget(text_, 1, Qt::AlignTop);
    dress();
    hide();
}

void ErrorLine::show(const QString& text) {
    text_->setText(breakable(text, longestError));
    setPlainToolTip(*text_, text.size() > longestError ? text : QString());
    setVisible(!text.isEmpty());
}

void ErrorLine::dress() {
    const QSize size(measures::smallSymbol, measures::smallSymbol);
    symbol_->setPixmap(symbolIcon("exclamationmark.triangle", Tint::failure).pixmap(size, devicePixelRatioF()));
    text_->setFont(textFont_(font()));
    setTint(*text_, Tint::failure);
}

void ErrorLine::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

Sheet* makeConfirmation(QWidget* parent, const QString& title, const QString& message, const QString& confirmLabel,
                        const QString& cancelLabel) {
    auto* sheet = new Sheet(title, parent);
    sheet->setSentence(message);
    sheet->addCancelButton(cancelLabel)->setDefault(true);
    sheet->addConfirmButton(confirmLabel, Emphasis::destructive);
    return sheet;
}

Sheet* makeAlert(QWidget* parent, const QString& title, const QString& message, const QString& okLabel) {
    auto* sheet = new Sheet(title, parent);
    sheet->setSentence(message);
    sheet->addConfirmButton(okLabel);
    QObject::connect(sheet, &Sheet::confirmed, sheet, &Sheet::cancelled);
    return sheet;
}

}  // namespace tovri
