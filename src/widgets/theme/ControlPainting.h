#pragma once

#include <QColor>
#include <QRectF>
#include <QStyleOption>

#include "widgets/theme/Style.h"

class QPainter;

namespace tovri {

// How the style's controls look.

[[nodiscard]] Emphasis emphasisOf(const QWidget* widget);  // none without a widget
[[nodiscard]] QColor fillOf(Emphasis emphasis, const QPalette& palette);

void paintBox(QPainter& painter, const QRectF& rect, const QColor& fill, const QColor& frame, double width = 1);
void paintPushButton(const QStyleOption& option, QPainter& painter, const QWidget* widget);
void paintToolButton(const QStyleOption& option, QPainter& painter);
void paintFocusRing(const QStyleOption& option, QPainter& painter);  // where the keyboard has brought the focus
void paintLineEdit(const QStyleOption& option, QPainter& painter);
void paintCheckBox(const QStyleOption& option, QPainter& painter);
void paintTab(const QStyleOptionTab& option, QPainter& painter);

// The thumb of a scroll bar.
void paintSlider(const QStyleOptionSlider& option, const QRect& handle, QPainter& painter);

// The value in the accent colour on a pale groove.
void paintProgress(const QStyleOptionProgressBar& option, QPainter& painter);

void paintChevron(QPainter& painter, const QRectF& rect, const QColor& ink, bool isUp = false);

}  // namespace tovri
