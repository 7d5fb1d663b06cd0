#include "widgets/parts/PlaceholderView.h"

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "widgets/parts/TurningSign.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Style.h"
#include "widgets/theme/Symbols.h"

namespace tovri {

PlaceholderView::PlaceholderView(QWidget* parent)
    : QWidget(parent),
      symbol_(makeLabel()),
      turning_(new TurningSign),
      title_(makeLabel()),
      text_(makeLabel()),
      button_(new QPushButton) {
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    for (QLabel* label : {title_, text_}) {
        label->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
        label->setWordWrap(true);
        label->setTextFormat(Qt::PlainText);
    }
    auto* middle = new QWidget;
    middle->setMaximumWidth(measures::placeholderWidth);
    auto* column = new QVBoxLayout(middle);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(measures::spacing);
    column->addWidget(symbol_, 0, Qt::AlignHCenter);
    column->addWidget(turning_, 0, Qt::AlignHCenter);
    column->addWidget(title_);
    column->addWidget(text_);
    column->addSpacing(measures::spacing);
    column->addWidget(button_, 0, Qt::AlignHCenter);
    auto* around = new QGridLayout(this);
    around->addWidget(middle, 1, 1);
    for (const int side : {0, 2}) {
        around->setRowStretch(side, 1);
        around->setColumnStretch(side, 1);
    }
    around->setColumnMinimumWidth(1, measures::placeholderWidth);
    setEmphasis(*button_, Emphasis::suggested);
    connect(button_, &QPushButton::clicked, this, &PlaceholderView::buttonPressed);
    dress();
}

void PlaceholderView::show(const Placeholder& placeholder) {
    shown_ = placeholder;
    const bool isProgress = placeholder.kind == Placeholder::Kind::progress;
    symbol_->setVisible(!isProgress && !placeholder.symbol.empty());
    turning_->setVisible(isProgress);
    title_->setText(textOf(placeholder.title));
    title_->setVisible(!placeholder.title.empty());
    text_->setText(textOf(placeholder.text));
    text_->setVisible(!placeholder.text.empty());
    button_->setText(textOf(placeholder.button));
    button_->setVisible(!placeholder.button.empty());
    dress();
}

void PlaceholderView::dress() {
    const QSize size(measures::largeSymbol, measures::largeSymbol);
    symbol_->setPixmap(symbolIcon(shown_.symbol, Tint::tertiary).pixmap(size, devicePixelRatioF()));
    title_->setFont(placeholderTitleFont(font()));
    setTint(*text_, Tint::secondary);
}

void PlaceholderView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
