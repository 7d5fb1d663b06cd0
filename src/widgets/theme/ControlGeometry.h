#pragma once

#include <QRect>
#include <QStyle>

class QStyleOptionComplex;
class QStyleOptionSlider;

namespace tovri {

// Where the parts of the style's controls stand.

// The place of the arrows of spin boxes and combo boxes, up to the box's end.
inline constexpr int arrowColumn = 24;

[[nodiscard]] QRect partOfSpinBox(const QStyleOptionComplex& box, QStyle::SubControl part);
[[nodiscard]] QRect partOfComboBox(const QStyleOptionComplex& box, QStyle::SubControl part);

// Without buttons at its ends: the groove is all of it.
[[nodiscard]] QRect partOfScrollBar(const QStyleOptionSlider& bar, QStyle::SubControl part);

}  // namespace tovri
