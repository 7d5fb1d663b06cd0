#include "widgets/rows/RowPainter.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStyle>
#include <QWidget>
#include <algorithm>
#include <cmath>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int symbolColumn = 20;
constexpr int captionSymbol = measures::smallSymbol;
constexpr int lineGap = 2;
constexpr int barGap = 5;
constexpr int barLine = measures::progressBar + 2 * barGap - lineGap;
constexpr int levelWidth = 22;
constexpr int leastPadding = 3;  // above and below the texts

int columnOf(const RowContent& content) {
    return std::max(symbolColumn, content.symbolSize == measures::symbol ? 0 : content.symbolSize);
}

int leftOf(const QRect& row, const RowContent& content) {
    return row.left() + content.level * levelWidth;
}

QColor withOpacity(QColor color, double opacity) {
    color.setAlphaF(static_cast<float>(opacity));
    return color;
}

void paintRing(QPainter& painter, const QRect& rect, const QColor& color) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, 2));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(QRectF(rect).adjusted(1, 1, -1, -1), measures::radius - 1, measures::radius - 1);
    painter.restore();
}

}  // namespace

RowPainter::RowPainter(const QWidget& widget)
    : direction_(widget.layoutDirection()),
      palette_(widget.palette()),
      titleFont_(titleFont(widget.font())),
      captionFont_(tabularFont(captionFont(widget.font()))),
      headerFont_(tabularFont(sectionHeaderFont(widget.font()))) {}

RowHeights RowPainter::heights() const {
    const int texts =
        QFontMetrics(titleFont_).height() + lineGap + QFontMetrics(captionFont_).height() + 2 * leastPadding;
    return {.plain = std::max(measures::rowHeight, texts),
            .progress = std::max(measures::progressRowHeight, texts + barLine)};
}

QRect RowPainter::mirrored(const QRect& row, const QRect& logical) const {
    return QStyle::visualRect(direction_, row, logical);
}

QRect RowPainter::symbolRect(const QRect& row, const RowContent& content) const {
    return mirrored(row, {leftOf(row, content) + measures::margin, row.top(), columnOf(content), row.height()});
}

// In the margin, so that the symbols of all rows stand below each other.
QRect RowPainter::openingRect(const QRect& row, const RowContent& content) const {
    if (!content.isOpen) return {};
    return mirrored(row, {leftOf(row, content), row.top(), measures::margin + 2, row.height()});
}

QRect RowPainter::buttonRect(const QRect& row, const RowContent& content, int button) const {
    const int fromEnd = static_cast<int>(content.buttons.size()) - button;
    const int x =
        row.right() + 1 - measures::spacing - fromEnd * measures::inlineButton - (fromEnd - 1) * measures::gap;
    return mirrored(row, {x, row.top() + (row.height() - measures::inlineButton) / 2, measures::inlineButton,
                          measures::inlineButton});
}

int RowPainter::buttonAt(const QRect& row, const RowContent& content, const QPoint& point) const {
    for (int i = 0; i < static_cast<int>(content.buttons.size()); ++i)
        if (buttonRect(row, content, i).contains(point)) return i;
    return RowLook::noButton;
}

// Between symbol and buttons, not mirrored.
QRect RowPainter::textRect(const QRect& row, const RowContent& content) const {
    QRect rect = row;
    rect.setLeft(leftOf(row, content) + measures::margin + columnOf(content) + measures::margin);
    int end = measures::margin;
    if (!content.trailingSymbol.empty()) end += measures::smallSymbol + measures::spacing;
    const int buttons = static_cast<int>(content.buttons.size());
    if (buttons > 0) end += buttons * (measures::inlineButton + measures::gap) + measures::gap;
    rect.setRight(row.right() - end);
    return rect;
}

QString RowPainter::cutTexts(const QRect& row, const RowContent& content) const {
    const int space = textRect(row, content).width();
    QStringList cut;
    if (QFontMetrics(titleFont_).horizontalAdvance(content.title) > space) cut << content.title;
    const auto symbols = std::ranges::count_if(content.caption, [](const auto& part) { return !part.symbol.empty(); });
    const int captionWidth = QFontMetrics(captionFont_).horizontalAdvance(content.captionText()) +
                             static_cast<int>(symbols) * (captionSymbol + measures::gap);
    if (captionWidth > space) cut << content.captionText();
    return cut.join('\n');
}

void RowPainter::paint(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const {
    if (content.shape == RowShape::header) return paintHeader(painter, row, content);
    paintBackground(painter, row, look);
    if (content.isOpen) paintOpening(painter, row, content);
    paintSymbolOf(painter, row, content, look);
    paintTexts(painter, row, content, look);
    paintButtons(painter, row, content, look);
    if (content.trailingSymbol.empty()) return;
    const QRect end(row.right() - measures::margin - measures::smallSymbol, row.top(), measures::smallSymbol,
                    row.height());
    paintSymbol(painter, mirrored(row, end), measures::smallSymbol, content.trailingSymbol,
                color(Tint::tertiary, palette_));
}

void RowPainter::paintHeader(QPainter& painter, const QRect& row, const RowContent& content) const {
    painter.fillRect(row, palette_.color(QPalette::Base));
    painter.fillRect(QRect(row.left(), row.bottom(), row.width(), 1), lineColor(palette_));
    const QRect text = row.adjusted(measures::margin, 0, -measures::margin, -1);
    drawLine(painter, text, headerFont_, color(Tint::secondary, palette_), content.title);
}

void RowPainter::paintBackground(QPainter& painter, const QRect& row, const RowLook& look) const {
    painter.fillRect(row, palette_.color(look.isAlternate ? QPalette::AlternateBase : QPalette::Base));
    if (look.isSelected) {
        const QColor accent = color(Tint::accent, palette_);
        painter.fillRect(row, look.isViewFocused ? withOpacity(accent, isDark(palette_) ? 0.34 : 0.20)
                                                 : withOpacity(palette_.color(QPalette::Text), 0.10));
    } else if (look.isHovered) {
        painter.fillRect(row, hoverColor(palette_));
    }
    if (look.hasRing || look.isDropTarget) paintRing(painter, row, color(Tint::accent, palette_));
}

void RowPainter::paintOpening(QPainter& painter, const QRect& row, const RowContent& content) const {
    constexpr int size = measures::margin;  // the ring around the row is not touched
    QRect sign({}, QSize(size, size));
    painter.save();
    painter.translate(openingRect(row, content).center());
    if (*content.isOpen) painter.rotate(direction_ == Qt::RightToLeft ? -90 : 90);
    sign.moveCenter({});
    paintSymbol(painter, sign, size, "chevron.right", color(Tint::secondary, palette_));
    painter.restore();
}

void RowPainter::paintSymbolOf(QPainter& painter, const QRect& row, const RowContent& content,
                               const RowLook& look) const {
    const QRect rect = symbolRect(row, content);
    const QColor ink = color(content.symbolTint, palette_);
    if (content.symbol.empty()) return paintTurningSign(painter, rect, ink, look.turn);
    const double opacity = painter.opacity();
    painter.setOpacity(content.pulses ? opacity * look.breath : opacity);
    paintSymbol(painter, rect, content.symbolSize, content.symbol, ink);
    painter.setOpacity(opacity);
}

void RowPainter::paintTexts(QPainter& painter, const QRect& row, const RowContent& content, const RowLook& look) const {
    const QRect space = textRect(row, content);
    const int titleHeight = QFontMetrics(titleFont_).height();
    const int captionHeight = content.caption.empty() ? 0 : QFontMetrics(captionFont_).height() + lineGap;
    const int barHeight = content.progress ? barLine : 0;
    int y = row.top() + (row.height() - titleHeight - captionHeight - barHeight) / 2;
    const auto line = [&](int height) { return mirrored(row, {space.left(), y, space.width(), height}); };
    drawLine(painter, line(titleHeight), titleFont_, color(Tint::primary, palette_), content.title);
    y += titleHeight;
    if (content.progress) {
        y += barGap;
        paintProgress(painter, line(measures::progressBar), *content.progress, look.turn);
        y += measures::progressBar + barGap - lineGap;
    }
    y += lineGap;
    paintCaption(painter, line(QFontMetrics(captionFont_).height()), content);
}

void RowPainter::drawLine(QPainter& painter, const QRect& rect, const QFont& font, const QColor& ink,
                          const QString& text) const {
    painter.setFont(font);
    painter.setPen(ink);
    const QString shown = QFontMetrics(font).elidedText(text, Qt::ElideRight, rect.width());
    painter.drawText(rect, textFlags(text, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, direction_), shown);
}

void RowPainter::paintCaption(QPainter& painter, const QRect& rect, const RowContent& content) const {
    const QFontMetricsF metrics(captionFont_);
    const auto widthOf = [&](const QString& text) {
        return static_cast<int>(std::ceil(metrics.horizontalAdvance(text))) + 1;
    };
    int used = 0;
    const auto next = [&](int width) {
        const QRect part(rect.left() + used, rect.top(), std::min(width, rect.width() - used), rect.height());
        used += width;
        return mirrored(rect, part);
    };
    bool isFirst = true;
    for (const CaptionSegment& segment : content.caption) {
        const QColor ink = color(segment.tint, palette_);
        if (!isFirst) {
            const QColor between = color(Tint::secondary, palette_);
            drawLine(painter, next(widthOf(content.separator)), captionFont_, between, content.separator);
        }
        isFirst = false;
        if (used >= rect.width()) return;
        if (!segment.symbol.empty()) {
            paintSymbol(painter, next(captionSymbol), captionSymbol, segment.symbol, ink);
            used += measures::gap;
        }
        if (used >= rect.width()) return;
        drawLine(painter, next(widthOf(segment.text)), captionFont_, ink, segment.text);
    }
}

void RowPainter::paintProgress(QPainter& painter, const QRect& rect, const RowProgress& progress, double turn) const {
    const double radius = rect.height() / 2.0;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withOpacity(palette_.color(QPalette::Text), 0.14));
    painter.drawRoundedRect(rect, radius, radius);
    QRectF bar(rect);
    if (progress.fraction) {
        bar.setWidth(rect.width() * std::clamp(*progress.fraction, 0.0, 1.0));
    } else {
        bar.setWidth(rect.width() * 0.25);
        bar.moveLeft(rect.left() + (rect.width() - bar.width()) * (0.5 - 0.5 * std::cos(turn * 6.283185307)));
    }
    if (direction_ == Qt::RightToLeft) bar.moveLeft(rect.left() + rect.right() + 1 - bar.right());
    painter.setBrush(color(progress.tint, palette_));
    if (bar.width() > 0) painter.drawRoundedRect(bar, std::min(radius, bar.width() / 2), radius);
    painter.restore();
}

void RowPainter::paintButtons(QPainter& painter, const QRect& row, const RowContent& content,
                              const RowLook& look) const {
    for (int i = 0; i < static_cast<int>(content.buttons.size()); ++i) {
        const InlineButton& button = content.buttons[static_cast<std::size_t>(i)];
        const QRect rect = buttonRect(row, content, i);
        if (button.isEnabled && (i == look.hoveredButton || i == look.pressedButton)) {
            painter.save();
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setPen(Qt::NoPen);
            painter.setBrush(withOpacity(palette_.color(QPalette::Text), i == look.pressedButton ? 0.16 : 0.08));
            painter.drawRoundedRect(rect, measures::radius, measures::radius);
            painter.restore();
        }
        const Tint tint = !button.isEnabled         ? Tint::tertiary
                          : i == look.hoveredButton ? Tint::primary
                                                    : Tint::secondary;
        paintSymbol(painter, rect, measures::symbol, button.symbol, color(tint, palette_));
        if (i == look.focusedButton) paintRing(painter, rect, color(Tint::accent, palette_));
    }
}

void paintTurningSign(QPainter& painter, const QRect& rect, const QColor& color, double turn) {
    constexpr double size = 16;
    constexpr double width = 2;
    QRectF circle(0, 0, size - width, size - width);
    circle.moveCenter(QRectF(rect).center());
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(withOpacity(color, 0.25), width));
    painter.drawEllipse(circle);
    painter.setPen(QPen(color, width, Qt::SolidLine, Qt::RoundCap));
    painter.drawArc(circle, static_cast<int>((90 - turn * 360) * 16), -90 * 16);
    painter.restore();
}

}  // namespace tovri
