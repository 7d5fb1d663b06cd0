#include "widgets/parts/bars/BannerView.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

#include "widgets/parts/text/TextLabel.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {

BannerView::BannerView(const QString& buttonTitle, QWidget* parent)
    : QWidget(parent), symbol_(makeLabel()), text_(new TextLabel), button_(new QToolButton) {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(measures::margin, measures::gap, measures::spacing, measures::gap);
    line->setSpacing(measures::spacing);
    text_->setWordWrap(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    button_->setText(buttonTitle);
    button_->setAutoRaise(true);
    button_->setFocusPolicy(Qt::TabFocus);
    button_->setMinimumHeight(measures::inlineButton);
    line->addWidget(symbol_);
    line->addWidget(text_, 1);
    line->addWidget(button_);
    connect(button_, &QToolButton::clicked, this, &BannerView::buttonPressed);
}

void BannerView::show(const Label& label) {
    shown_ = label;
    text_->setText(textOf(label.text));
    dress();
    QWidget::show();
}

void BannerView::dress() {
    const QSize size(measures::symbol, measures::symbol);
    symbol_->setPixmap(symbolIcon(shown_.symbol, shown_.tint).pixmap(size, devicePixelRatioF()));
    text_->setFont(captionFont(font()));
}

void BannerView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor wash = color(shown_.tint, palette());
    wash.setAlphaF(0.12F);
    painter.fillRect(rect(), wash);
    painter.fillRect(QRect(0, rect().bottom(), width(), 1), lineColor(palette()));
}

void BannerView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

}  // namespace tovri
