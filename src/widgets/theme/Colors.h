#pragma once

#include <QColor>

#include "screens/Tint.h"

class QPalette;

namespace tovri {

// The colours of the roles, for the palette's own lightness.
[[nodiscard]] QColor color(Tint tint, const QPalette& palette);

[[nodiscard]] QColor brandColor(const QPalette& palette);

// What is written on the accent colour, and on the colour of failure.
[[nodiscard]] QColor colorOn(const QColor& background);

// Lines between areas.
[[nodiscard]] QColor lineColor(const QPalette& palette);

// The frame of what can be typed into or pressed.
[[nodiscard]] QColor frameColor(const QPalette& palette);

// What lies over an area under the pointer.
[[nodiscard]] QColor hoverColor(const QPalette& palette);

[[nodiscard]] bool isDark(const QPalette& palette);

// `share` of `over`, the rest `under`.
[[nodiscard]] QColor mixed(const QColor& over, const QColor& under, double share);

// The quotient of the luminances, 1 to 21, as WCAG 2.1 defines it.
[[nodiscard]] double contrast(const QColor& one, const QColor& other);

}  // namespace tovri
