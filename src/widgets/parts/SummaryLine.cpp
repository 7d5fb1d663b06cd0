#include "widgets/parts/SummaryLine.h"

#include <QAccessible>
#include <QPainter>
#include <QStringList>
#include <QStyle>

#include "widgets/parts/Texts.h"
#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
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
        const QColor ink = color(label.tint, palette());
        const auto next = [&](int width) {
            const QRect part = QStyle::visualRect(layoutDirection(), rect(), {x, 0, width, rect().height() - 1});
            x += width;
            return part;
        };
        if (!label.symbol.empty()) {
            paintSymbol(painter, next(measures::smallSymbol), measures::smallSymbol, label.symbol, ink);
            x += measures::gap;
        }
        painter.setPen(ink);
        painter.drawText(next(metrics.horizontalAdvance(text) + 1),
                         textFlags(text, Qt::AlignCenter | Qt::TextSingleLine, layoutDirection()), text);
        x += measures::margin + measures::gap;
    }
    painter.fillRect(QRect(0, rect().bottom(), width(), 1), lineColor(palette()));
}

}  // namespace tovri
