#include "widgets/window/ConflictDialog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"

namespace tovri {

ConflictDialog::ConflictDialog(ContentScreen& screen, QWidget* parent)
    : QDialog(parent, Qt::Sheet | Qt::WindowTitleHint | Qt::CustomizeWindowHint),
      screen_(screen),
      conflict_(screen.conflictSheet()->id),
      path_(textOf(screen.conflictSheet()->existingPath)),
      symbol_(makeLabel()),
      title_(makeLabel(textOf(ConflictSheet::title))),
      message_(makeLabel(textOf(screen.conflictSheet()->message))),
      shownPath_(makeLabel()),
      applyToAll_(new QCheckBox(textOf(ConflictSheet::applyToAllLabel))) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title_->text());
    setAccessibleDescription(message_->text());
    setFixedWidth(ConflictSheet::width);
    auto* column = new QVBoxLayout(this);
    const int margin = measures::sheetMargin + measures::gap;
    column->setContentsMargins(margin, margin, margin, margin);
    column->setSpacing(measures::spacing);
    for (QLabel* label : {symbol_, title_, message_, shownPath_}) {
        label->setAlignment(Qt::AlignHCenter);
        label->setTextFormat(Qt::PlainText);
        column->addWidget(label);
    }
    message_->setWordWrap(true);
    setPlainToolTip(*shownPath_, path_);
    shownPath_->setAccessibleName(path_);
    column->addSpacing(measures::gap);
    column->addWidget(applyToAll_, 0, Qt::AlignHCenter);
    column->addSpacing(measures::gap);
    column->addWidget(makeButtons());
    connect(applyToAll_, &QCheckBox::toggled, this, [this](bool applies) { screen_.setApplyToAll(applies); });
    update(*screen.conflictSheet());
    dress();
}

QWidget* ConflictDialog::makeButtons() {
    auto* buttons = new QWidget;
    auto* line = new QHBoxLayout(buttons);
    line->setContentsMargins(0, 0, 0, 0);
    for (const ConflictSheet::Button& button : ConflictSheet::buttons) {
        auto* push = new QPushButton(titleOf(button.title));
        push->setAutoDefault(false);
        if (button.isEmphasised) setEmphasis(*push, Emphasis::suggested);
        connect(push, &QPushButton::clicked, this,
                [this, choice = button.choice] { screen_.answer(conflict_, choice); });
        line->addWidget(push, 1);
    }
    return buttons;
}

void ConflictDialog::update(const ConflictSheet& sheet) {
    applyToAll_->setChecked(sheet.applyToAll);
}

void ConflictDialog::dress() {
    const QSize size(ConflictSheet::symbolSize, ConflictSheet::symbolSize);
    symbol_->setPixmap(symbolIcon(ConflictSheet::symbol, Tint::attention).pixmap(size, devicePixelRatioF()));
    title_->setFont(semiboldFont(font()));
    shownPath_->setFont(captionFont(font()));
    applyToAll_->setFont(captionFont(font()));
    for (QLabel* label : {message_, shownPath_}) setTint(*label, Tint::secondary);
    shortenPath();
}

void ConflictDialog::shortenPath() {
    const QMargins margins = layout()->contentsMargins();
    const int room = width() - margins.left() - margins.right();
    shownPath_->setText(QFontMetrics(shownPath_->font()).elidedText(path_, Qt::ElideMiddle, room));
}

void ConflictDialog::closeEvent(QCloseEvent* event) {
    event->ignore();
}

void ConflictDialog::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    shortenPath();
}

void ConflictDialog::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
