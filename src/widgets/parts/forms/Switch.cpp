#include "widgets/parts/forms/Switch.h"

#include <QPainter>

#include "widgets/theme/Colors.h"

namespace tovri {
namespace {

constexpr int switchHeight = 20;

}  // namespace

Switch::Switch(QWidget* parent) : QAbstractButton(parent) {
    setCheckable(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const {
    return {switchWidth + 2 * switchRing, switchHeight + 2 * switchRing};
}

void Switch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setOpacity(isEnabled() ? 1 : 0.5);
    paintSwitch(painter, rect(), palette(), isChecked(), layoutDirection());
    if (!hasFocus()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color(Tint::accent, palette()), 2));
    painter.setBrush(Qt::NoBrush);
    const QRectF around = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.drawRoundedRect(around, around.height() / 2, around.height() / 2);
}

void paintSwitch(QPainter& painter, const QRect& rect, const QPalette& palette, bool isOn,
                 Qt::LayoutDirection direction) {
    QRectF groove(0, 0, switchWidth, switchHeight);
    groove.moveCenter(QRectF(rect).center());
    const QColor fill = isOn ? color(Tint::accent, palette) : frameColor(palette);
    QRectF knob = groove.adjusted(2, 2, 0, -2);
    knob.setWidth(knob.height());
    if (isOn != (direction == Qt::RightToLeft)) knob.moveRight(groove.right() - 2);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(groove, groove.height() / 2, groove.height() / 2);
    painter.setBrush(Qt::white);
    painter.drawEllipse(knob);
    painter.restore();
}

}  // namespace tovri
