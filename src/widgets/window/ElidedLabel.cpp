#include "widgets/window/ElidedLabel.h"

#include <QPainter>

#include "widgets/theme/ForeignText.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, QWidget* parent) : QWidget(parent), mode_(mode) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);
}

void ElidedLabel::setText(const QString& text) {
    if (text_ == text) return;
    text_ = text;
    setPlainToolTip(*this, text);
    setAccessibleDescription(text);
    updateGeometry();
    update();
}

QSize ElidedLabel::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text_) + 1, fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 8, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.drawText(rect(), textFlags(text_, Qt::AlignVCenter | Qt::AlignRight, layoutDirection()),
                     fontMetrics().elidedText(text_, mode_, width()));
}

}  // namespace tovri
