#include "widgets/theme/ControlPainting.h"

#include <QPainter>
#include <QWidget>
#include <algorithm>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr const char* emphasisProperty = "tovriEmphasis";

QColor wash(const QPalette& palette, double share) {
    QColor over = palette.color(QPalette::WindowText);
    over.setAlphaF(static_cast<float>(share));
    return over;
}

bool has(const QStyleOption& option, QStyle::StateFlag flag) {
    return option.state.testFlag(flag);
}

bool hasKeyboardFocus(const QStyleOption& option) {
    return has(option, QStyle::State_HasFocus) && has(option, QStyle::State_KeyboardFocusChange);
}

}  // namespace

void setEmphasis(QWidget& button, Emphasis emphasis) {
    button.setProperty(emphasisProperty, static_cast<int>(emphasis));
    button.update();
}

Emphasis emphasisOf(const QWidget* widget) {
    return widget == nullptr ? Emphasis::none : static_cast<Emphasis>(widget->property(emphasisProperty).toInt());
}

void paintBox(QPainter& painter, const QRectF& rect, const QColor& fill, const QColor& frame, double width) {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(frame.isValid() ? QPen(frame, width) : QPen(Qt::NoPen));
    painter.setBrush(fill.isValid() ? QBrush(fill) : QBrush(Qt::NoBrush));
    const double inset = frame.isValid() ? width / 2 : 0;
    painter.drawRoundedRect(rect.adjusted(inset, inset, -inset, -inset), measures::radius - inset,
                            measures::radius - inset);
    painter.restore();
}

QColor fillOf(Emphasis emphasis, const QPalette& palette) {
    if (emphasis == Emphasis::none) return palette.color(QPalette::Button);
    return color(emphasis == Emphasis::suggested ? Tint::accent : Tint::failure, palette);
}

void paintPushButton(const QStyleOption& option, QPainter& painter, const QWidget* widget) {
    const QPalette& palette = option.palette;
    const Emphasis emphasis = emphasisOf(widget);
    const bool isFilled = emphasis != Emphasis::none && has(option, QStyle::State_Enabled);
    QColor fill = isFilled ? fillOf(emphasis, palette) : palette.color(QPalette::Button);
    const QColor ink = isFilled ? colorOn(fill) : palette.color(QPalette::WindowText);
    if (has(option, QStyle::State_Sunken))
        fill = mixed(ink, fill, 0.14);
    else if (has(option, QStyle::State_MouseOver) && has(option, QStyle::State_Enabled))
        fill = mixed(ink, fill, 0.06);
    paintBox(painter, option.rect, fill, isFilled ? QColor() : frameColor(palette));
    if (!hasKeyboardFocus(option)) return;
    const QColor ring = isFilled ? ink : color(Tint::accent, palette);
    paintBox(painter, isFilled ? QRectF(option.rect).adjusted(2, 2, -2, -2) : QRectF(option.rect), QColor(), ring, 2);
}

void paintToolButton(const QStyleOption& option, QPainter& painter) {
    if (has(option, QStyle::State_Enabled)) {
        if (has(option, QStyle::State_Sunken) || has(option, QStyle::State_On))
            paintBox(painter, option.rect, wash(option.palette, 0.12), QColor());
        else if (has(option, QStyle::State_MouseOver))
            paintBox(painter, option.rect, wash(option.palette, 0.07), QColor());
    }
}

void paintFocusRing(const QStyleOption& option, QPainter& painter) {
    if (hasKeyboardFocus(option)) paintBox(painter, option.rect, QColor(), color(Tint::accent, option.palette), 2);
}

void paintLineEdit(const QStyleOption& option, QPainter& painter) {
    const bool isFocused = has(option, QStyle::State_HasFocus);
    paintBox(painter, option.rect, option.palette.color(QPalette::Base),
             isFocused ? color(Tint::accent, option.palette) : frameColor(option.palette), isFocused ? 2 : 1);
}

void paintSlider(const QStyleOptionSlider& option, const QRect& handle, QPainter& painter) {
    const bool isHorizontal = option.orientation == Qt::Horizontal;
    const int inset = has(option, QStyle::State_MouseOver) ? 2 : 3;
    QRectF thumb = QRectF(handle).adjusted(isHorizontal ? 2 : inset, isHorizontal ? inset : 2,
                                           isHorizontal ? -2 : -inset, isHorizontal ? -inset : -2);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash(option.palette, has(option, QStyle::State_MouseOver) ? 0.4 : 0.26));
    const double radius = std::min(thumb.width(), thumb.height()) / 2;
    painter.drawRoundedRect(thumb, radius, radius);
    painter.restore();
}

// Of unknown length when the range is empty.
void paintProgress(const QStyleOptionProgressBar& option, QPainter& painter) {
    QRectF groove(option.rect);
    groove.setTop(groove.center().y() - measures::progressBar / 2.0);
    groove.setHeight(measures::progressBar);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(wash(option.palette, 0.14));
    painter.drawRoundedRect(groove, 2, 2);
    const int range = option.maximum - option.minimum;
    const double share = range > 0 ? static_cast<double>(option.progress - option.minimum) / range : 0.3;
    QRectF bar = groove;
    bar.setWidth(groove.width() * std::clamp(share, 0.0, 1.0));
    if (option.direction == Qt::RightToLeft) bar.moveRight(groove.right());
    painter.setBrush(color(Tint::accent, option.palette));
    if (bar.width() > 0) painter.drawRoundedRect(bar, 2, 2);
    painter.restore();
}

void paintChevron(QPainter& painter, const QRectF& rect, const QColor& ink, bool isUp) {
    const QPointF middle = rect.center();
    const double reach = isUp ? -1.75 : 1.75;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ink, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(
        QPolygonF{middle - QPointF(3.5, reach), middle + QPointF(0, reach), middle + QPointF(3.5, -reach)});
    painter.restore();
}

void paintCheckBox(const QStyleOption& option, QPainter& painter) {
    constexpr double side = 16;
    QRectF box(0, 0, side, side);
    box.moveCenter(QRectF(option.rect).center());
    const bool isOn = !has(option, QStyle::State_Off);
    const QColor accent = color(Tint::accent, option.palette);
    const QColor fill = !isOn                                ? option.palette.color(QPalette::Base)
                        : has(option, QStyle::State_Enabled) ? accent
                                                             : frameColor(option.palette);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(fill);
    painter.setPen(isOn ? QPen(Qt::NoPen) : QPen(frameColor(option.palette), 1));
    painter.drawRoundedRect(isOn ? box : box.adjusted(0.5, 0.5, -0.5, -0.5), 4, 4);
    if (isOn) {
        painter.setPen(QPen(colorOn(fill), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        const QPointF corner = box.topLeft();
        painter.setBrush(Qt::NoBrush);
        if (has(option, QStyle::State_NoChange))
            painter.drawLine(corner + QPointF(4.5, 8), corner + QPointF(11.5, 8));
        else
            painter.drawPolyline(
                QPolygonF{corner + QPointF(4, 8.5), corner + QPointF(7, 11.5), corner + QPointF(12, 5)});
    }
    painter.restore();
}

void paintTab(const QStyleOptionTab& option, QPainter& painter) {
    const QRect rect = option.rect;
    if (has(option, QStyle::State_Selected)) {
        painter.fillRect(QRect(rect.left() + 8, rect.bottom() - 1, rect.width() - 16, 2),
                         color(Tint::accent, option.palette));
    } else if (has(option, QStyle::State_MouseOver)) {
        paintBox(painter, rect.adjusted(2, 2, -2, -4), wash(option.palette, 0.05), QColor());
    }
    QStyleOptionTab ring = option;
    ring.rect.adjust(2, 2, -2, -4);
    paintFocusRing(ring, painter);
}

}  // namespace tovri
