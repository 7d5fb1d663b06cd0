#include "widgets/window/ElidedLabel.h"

#include <QPainter>
#include <algorithm>

#include "widgets/theme/ForeignText.h"
#include "widgets/theme/TextDirection.h"

namespace tovri {
namespace {

constexpr int longestWhole = 60;  // characters for which it asks for room

}  // namespace

ElidedLabel::ElidedLabel(Qt::TextElideMode mode, Qt::AlignmentFlag place, QWidget* parent)
    : QWidget(parent), mode_(mode), place_(place) {
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
    const int longest = fontMetrics().averageCharWidth() * longestWhole;
    return {std::min(fontMetrics().horizontalAdvance(text_) + 1, longest), fontMetrics().height()};
}

QSize ElidedLabel::minimumSizeHint() const {
    return {fontMetrics().averageCharWidth() * 8, fontMetrics().height()};
}

void ElidedLabel::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.drawText(rect(), textFlags(text_, static_cast<int>(Qt::AlignVCenter | place_), layoutDirection()),
                     fontMetrics().elidedText(text_, mode_, width()));
}

}  // namespace tovri
