#include "widgets/parts/bars/SummaryLine.h"

#include <QAccessible>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QStringList>
#include <QStyle>

#include "widgets/parts/forms/Switch.h"
#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int lineHeight = 36;

}  // namespace

SummaryLine::SummaryLine(QWidget* parent) : QWidget(parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
}

void SummaryLine::show(std::vector<Label> labels) {
    if (labels == labels_) return;
    labels_ = std::move(labels);
    QStringList texts;
    for (const Label& label : labels_) texts << textOf(label.text);
    setAccessibleName(texts.join(QStringLiteral(", ")));
    update();
}

void SummaryLine::showSwitch(const QString& text, bool isOn, const QString& help) {
    if (switch_ == nullptr) makeSwitch();
    switchText_->setText(text);
    setPlainToolTip(*switchText_, help);
    setPlainToolTip(*switch_, help);
    switch_->setAccessibleName(text);
    switch_->setChecked(isOn);
    update();
}

void SummaryLine::makeSwitch() {
    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(measures::margin, 0, measures::margin - switchRing, 0);
    line->setSpacing(measures::spacing - switchRing);
    switchText_ = makeLabel();
    switch_ = new Switch;
    switchText_->setBuddy(switch_);
    line->addStretch();
    line->addWidget(switchText_);
    line->addWidget(switch_);
    connect(switch_, &Switch::toggled, this, &SummaryLine::switched);
    dress();
}

void SummaryLine::dress() {
    if (switchText_ == nullptr) return;
    switchText_->setFont(tabularFont(captionFont(font())));
    setTint(*switchText_, Tint::secondary);
}

void SummaryLine::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) dress();
}

int SummaryLine::spaceForLabels() const {
    if (switch_ == nullptr) return width();
    return width() - switchText_->sizeHint().width() - switch_->sizeHint().width() - 2 * measures::margin -
           measures::spacing;
}

QSize SummaryLine::sizeHint() const {
    return {0, lineHeight};
}

void SummaryLine::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setFont(tabularFont(captionFont(font())));
    const QFontMetrics metrics = painter.fontMetrics();
    int x = measures::margin;
    for (const Label& label : labels_) {
        const QString text = textOf(label.text);
        if (text.isEmpty()) continue;
        const int width = metrics.horizontalAdvance(text) + 1;
        const int symbolWidth = label.symbol.empty() ? 0 : measures::smallSymbol + measures::gap;
        if (x + symbolWidth + width > spaceForLabels()) break;  // rather none than half of it
        const QColor ink = color(label.tint, palette());
        const auto next = [&](int wide) {
            const QRect part = QStyle::visualRect(layoutDirection(), rect(), {x, 0, wide, rect().height() - 1});
            x += wide;
            return part;
        };
        if (!label.symbol.empty()) {
            paintSymbol(painter, next(measures::smallSymbol), measures::smallSymbol, label.symbol, ink);
            x += measures::gap;
        }
        painter.setPen(ink);
        painter.drawText(next(width), textFlags(text, Qt::AlignCenter | Qt::TextSingleLine, layoutDirection()), text);
        x += measures::margin + measures::gap;
    }
    painter.fillRect(QRect(0, rect().bottom(), width(), 1), lineColor(palette()));
}

}  // namespace tovri
