#include "widgets/window/sidebar/SectionPainter.h"

#include <QPainter>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr int badgeHeight = 18;

void paintArea(QPainter& painter, const QStyleOptionViewItem& option, const QRectF& area) {
    const bool isHovered = option.state.testFlag(QStyle::State_MouseOver);
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    painter.setPen(Qt::NoPen);
    if (isSelected)
        painter.setBrush(color(Tint::accent, option.palette));
    else if (isHovered)
        painter.setBrush(hoverColor(option.palette));
    else
        painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(area, measures::radius, measures::radius);
    if (!option.state.testFlag(QStyle::State_HasFocus) || !option.state.testFlag(QStyle::State_KeyboardFocusChange))
        return;
    painter.setBrush(Qt::NoBrush);
    painter.setPen(
        QPen(isSelected ? colorOn(color(Tint::accent, option.palette)) : color(Tint::accent, option.palette), 2));
    painter.drawRoundedRect(area.adjusted(2, 2, -2, -2), measures::radius - 2, measures::radius - 2);
}

// The width that it takes; nothing when there is none.
int paintBadge(QPainter& painter, const QStyleOptionViewItem& option, const QRect& area, const QString& text) {
    if (text.isEmpty()) return 0;
    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const QColor accent = color(Tint::accent, option.palette);
    const QFont font = tabularFont(semiboldFont(captionFont(option.font)));
    const int width = std::max(QFontMetrics(font).horizontalAdvance(text) + 12, badgeHeight + 6);
    QRect pill(0, 0, width, badgeHeight);
    pill.moveCenter(area.center());
    pill.moveRight(area.right() - measures::spacing);
    pill = QStyle::visualRect(option.direction, area, pill);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isSelected ? colorOn(accent) : accent);
    painter.drawRoundedRect(pill, badgeHeight / 2.0, badgeHeight / 2.0);
    painter.setPen(isSelected ? accent : colorOn(accent));
    painter.setFont(font);
    painter.drawText(pill, Qt::AlignCenter, text);
    return width + measures::spacing;
}

}  // namespace

void SectionPainter::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QRect area = option.rect.adjusted(measures::spacing, 1, -measures::spacing, -1);
    const QColor ink = option.state.testFlag(QStyle::State_Selected) ? colorOn(color(Tint::accent, option.palette))
                                                                     : option.palette.color(QPalette::WindowText);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    paintArea(*painter, option, area);
    const int badge = paintBadge(*painter, option, area, index.data(badgeRole).toString());

    const QRect symbol = area.adjusted(measures::spacing, 0, 0, 0);
    const QRect box(symbol.left(), symbol.top(), measures::symbol, symbol.height());
    paintSymbol(*painter, QStyle::visualRect(option.direction, area, box), measures::symbol,
                index.data(symbolRole).toString().toStdString(), ink);

    const QRect text =
        area.adjusted(measures::spacing + measures::symbol + measures::spacing, 0, -badge - measures::spacing, 0);
    painter->setPen(ink);
    painter->setFont(option.font);
    painter->drawText(QStyle::visualRect(option.direction, area, text), Qt::AlignVCenter | Qt::AlignLeading,
                      option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    painter->restore();
}

QSize SectionPainter::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& /*index*/) const {
    return {0, std::max(measures::sidebarRow, option.fontMetrics.height() + measures::spacing) + 2};
}

}  // namespace tovri
