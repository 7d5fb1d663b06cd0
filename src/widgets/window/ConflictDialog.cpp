#include "widgets/window/ConflictDialog.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QGridLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/text/BreakableText.h"
#include "widgets/parts/text/ScrolledText.h"
#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int outerMargin = measures::sheetMargin + measures::gap;
constexpr int textWidth = ConflictSheet::width - 2 * outerMargin;
constexpr qsizetype longestMessage = 1000;  // characters

}  // namespace

ConflictDialog::ConflictDialog(ContentScreen& screen, QWidget* parent)
    : BoundDialog(textOf(ConflictSheet::title), parent),
      screen_(screen),
      conflict_(screen.conflictSheet()->id),
      path_(textOf(screen.conflictSheet()->existingPath)),
      symbol_(makeLabel()),
      title_(makeLabel(textOf(ConflictSheet::title))),
      message_(new ScrolledText),
      existing_(new TextLabel),
      arriving_(new TextLabel),
      shownPath_(makeLabel()),
      applyToAll_(new QCheckBox(textOf(ConflictSheet::applyToAllLabel))),
      pale_{&message_->label(), shownPath_} {
    const QString message = textOf(screen.conflictSheet()->message);
    setAccessibleDescription(message);
    message_->setText(breakable(message, longestMessage));
    setPlainToolTip(*shownPath_, path_);
    shownPath_->setAccessibleName(path_);
    arrange();
    connect(applyToAll_, &QCheckBox::toggled, this, [this](bool applies) { screen_.setApplyToAll(applies); });
    update(*screen.conflictSheet());
    dress();
}

void ConflictDialog::arrange() {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(outerMargin, outerMargin, outerMargin, outerMargin);
    column->setSpacing(measures::spacing);
    message_->setFixedWidth(textWidth);
    message_->label().setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    for (QLabel* label : {symbol_, title_, shownPath_}) label->setAlignment(Qt::AlignHCenter);
    column->addWidget(symbol_);
    column->addWidget(title_);
    column->addWidget(message_, 1);
    column->addWidget(shownPath_);
    column->addWidget(makeFacts(), 0, Qt::AlignHCenter);
    column->addSpacing(measures::gap);
    column->addWidget(applyToAll_, 0, Qt::AlignHCenter);
    column->addSpacing(measures::gap);
    column->addWidget(makeButtons());
    setFixedWidth(ConflictSheet::width);
}

// The sizes and dates of both files, one under the other.
QWidget* ConflictDialog::makeFacts() {
    auto* facts = new QWidget;
    auto* grid = new QGridLayout(facts);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(measures::margin);
    grid->setVerticalSpacing(measures::gap);
    const auto addRow = [&](int row, const char* title, QLabel* value) {
        auto* label = new TextLabel(textOf(title));
        grid->addWidget(label, row, 0);
        grid->addWidget(value, row, 1);
        facts_ << label << value;
        pale_ << label;
    };
    addRow(0, ConflictSheet::existingLabel, existing_);
    addRow(1, ConflictSheet::arrivingLabel, arriving_);
    return facts;
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
    existing_->setText(textOf(sheet.existing));
    arriving_->setText(textOf(sheet.arriving));
}

void ConflictDialog::dress() {
    const QSize size(ConflictSheet::symbolSize, ConflictSheet::symbolSize);
    symbol_->setPixmap(symbolIcon(ConflictSheet::symbol, Tint::attention).pixmap(size, devicePixelRatioF()));
    title_->setFont(semiboldFont(font()));
    shownPath_->setFont(captionFont(font()));
    applyToAll_->setFont(captionFont(font()));
    for (QLabel* fact : facts_) fact->setFont(tabularFont(captionFont(font())));
    for (QLabel* label : pale_) setTint(*label, Tint::secondary);
    shownPath_->setText(QFontMetrics(shownPath_->font()).elidedText(path_, Qt::ElideMiddle, textWidth));
}

void ConflictDialog::bind() {
    BoundDialog::bind();
    setFixedWidth(ConflictSheet::width);
}

void ConflictDialog::closeEvent(QCloseEvent* event) {
    event->ignore();
}

void ConflictDialog::changeEvent(QEvent* event) {
    BoundDialog::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
