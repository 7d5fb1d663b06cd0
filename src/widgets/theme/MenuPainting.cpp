#include "widgets/theme/MenuPainting.h"

#include <QIcon>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>
#include <algorithm>

#include "widgets/theme/Colors.h"
#include "widgets/theme/ControlPainting.h"
#include "widgets/theme/Measures.h"
#include "widgets/theme/Symbols.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int lineHeight = 28;
constexpr int separatorHeight = 9;
constexpr int padding = measures::spacing;  // before and after what a line says
constexpr int signColumn = measures::smallSymbol + measures::spacing;
constexpr int beforeShortcut = measures::sectionGap;
constexpr int textLine = Qt::TextShowMnemonic | Qt::TextDontClip | Qt::TextSingleLine;

bool isSeparator(const QStyleOptionMenuItem& item) {
    return item.menuItemType == QStyleOptionMenuItem::Separator;
}

bool hasSubmenu(const QStyleOptionMenuItem& item) {
    return item.menuItemType == QStyleOptionMenuItem::SubMenu;
}

int widthOfSigns(const QStyleOptionMenuItem& item) {
    return item.menuHasCheckableItems || item.maxIconWidth > 0 ? signColumn : 0;
}

void paintCheckMark(QPainter& painter, const QRect& place, const QColor& ink) {
    const QPointF middle = QRectF(place).center();
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF{middle + QPointF(-4, 0.5), middle + QPointF(-1, 3.5), middle + QPointF(4.5, -3.5)});
    painter.restore();
}

void paintSign(const QStyleOptionMenuItem& item, QPainter& painter, const QRect& place, const QColor& ink) {
    if (item.checkType != QStyleOptionMenuItem::NotCheckable && item.checked)
        return paintCheckMark(painter, place, ink);
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    const bool isChosen = item.state.testFlag(QStyle::State_Selected);
    const QIcon::Mode mode = !isEnabled ? QIcon::Disabled : isChosen ? QIcon::Selected : QIcon::Normal;
    item.icon.paint(&painter, place, Qt::AlignCenter, mode);
}

void paintTexts(const QStyleOptionMenuItem& item, QPainter& painter, const QRect& area) {
    const QString title = item.text.section('\t', 0, 0);
    const QString shortcut = item.text.section('\t', 1);
    painter.setFont(item.font);
    painter.drawText(area, textFlags(title, Qt::AlignLeft | Qt::AlignVCenter | textLine, item.direction), title);
    painter.drawText(area, textFlags(shortcut, Qt::AlignRight | Qt::AlignVCenter | textLine, item.direction), shortcut);
}

}  // namespace

void paintMenuPanel(const QStyleOption& option, QPainter& painter) {
    painter.setPen(frameColor(option.palette));
    painter.setBrush(option.palette.color(QPalette::Base));
    painter.drawRect(QRectF(option.rect).adjusted(0.5, 0.5, -0.5, -0.5));
}

void paintMenuItem(const QStyleOptionMenuItem& item, QPainter& painter) {
    const QPalette& palette = item.palette;
    const QRect& line = item.rect;
    if (isSeparator(item)) {
        painter.fillRect(line.adjusted(padding, line.height() / 2, -padding, -line.height() / 2), lineColor(palette));
        return;
    }
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    const bool isChosen = isEnabled && item.state.testFlag(QStyle::State_Selected);
    if (isChosen) paintBox(painter, line, palette.color(QPalette::Highlight), QColor());
    const QColor ink = palette.color(isEnabled ? QPalette::Active : QPalette::Disabled,
                                     isChosen ? QPalette::HighlightedText : QPalette::Text);
    const auto part = [&](int from, int width) {
        return QStyle::visualRect(item.direction, line, {line.left() + from, line.top(), width, line.height()});
    };
    const int signs = widthOfSigns(item);
    painter.setPen(ink);
    if (signs > 0) paintSign(item, painter, part(padding, measures::smallSymbol), ink);
    paintTexts(item, painter, part(padding + signs, line.width() - 2 * padding - signs));
    if (hasSubmenu(item))
        paintSymbol(painter, part(line.width() - signColumn, signColumn), measures::smallSymbol, "chevron.right", ink);
}

void paintMenuBar(const QStyleOption& option, QPainter& painter) {
    const QRect& rect = option.rect;
    painter.fillRect(rect, option.palette.color(QPalette::Window));
    painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), lineColor(option.palette));
}

void paintMenuBarItem(const QStyleOptionMenuItem& item, QPainter& painter) {
    paintMenuBar(item, painter);
    QStyleOptionMenuItem button = item;
    button.rect.adjust(0, 2, 0, -3);
    button.state.setFlag(QStyle::State_MouseOver, item.state.testFlag(QStyle::State_Selected));
    paintToolButton(button, painter);
    const bool isEnabled = item.state.testFlag(QStyle::State_Enabled);
    painter.setPen(item.palette.color(isEnabled ? QPalette::Active : QPalette::Disabled, QPalette::WindowText));
    painter.drawText(button.rect, textFlags(item.text, Qt::AlignCenter | textLine, item.direction), item.text);
}

QSize menuItemSize(const QStyleOptionMenuItem& item, const QSize& size) {
    if (isSeparator(item)) return {size.width(), separatorHeight};
    int width = size.width() + 2 * padding + widthOfSigns(item);
    if (item.text.contains('\t')) width += beforeShortcut;
    if (hasSubmenu(item)) width += signColumn;
    return {width, std::max(item.fontMetrics.height() + measures::spacing, lineHeight)};
}

QSize menuBarItemSize(const QSize& size) {
    return size + QSize(2 * padding, 2 * measures::gap);
}

}  // namespace tovri
