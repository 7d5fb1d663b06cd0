#include "widgets/theme/ControlGeometry.h"

#include <QStyleOption>
#include <algorithm>

#include "widgets/theme/Measures.h"

namespace tovri {
namespace {

constexpr int arrowInset = measures::gap;  // from the frame
constexpr int shortestThumb = 24;

QRect mirrored(const QStyleOptionComplex& box, const QRect& area) {
    return QStyle::visualRect(box.direction, box.rect, area);
}

// Where the arrows of a spin box or a combo box stand, at its end; not mirrored.
QRect arrowsOf(const QRect& box) {
    return {box.right() + 1 - arrowColumn, box.top() + arrowInset, arrowColumn - arrowInset,
            box.height() - 2 * arrowInset};
}

int thumbOf(const QStyleOptionSlider& bar, int length) {
    const qint64 range = qint64{bar.maximum} - bar.minimum;
    if (range <= 0) return length;
    return std::clamp(static_cast<int>(qint64{length} * bar.pageStep / (range + bar.pageStep)),
                      std::min(shortestThumb, length), length);
}

}  // namespace

QRect partOfSpinBox(const QStyleOptionComplex& box, QStyle::SubControl part) {
    const QRect arrows = arrowsOf(box.rect);
    const int half = arrows.height() / 2;
    switch (part) {
        case QStyle::SC_SpinBoxUp:
            return mirrored(box, {arrows.left(), arrows.top(), arrows.width(), half});
        case QStyle::SC_SpinBoxDown:
            return mirrored(box, {arrows.left(), arrows.bottom() + 1 - half, arrows.width(), half});
        case QStyle::SC_SpinBoxEditField:
            return mirrored(box, box.rect.adjusted(1, 1, -arrowColumn, -1));
        default:
            return box.rect;
    }
}

QRect partOfComboBox(const QStyleOptionComplex& box, QStyle::SubControl part) {
    switch (part) {
        case QStyle::SC_ComboBoxArrow:
            return mirrored(box, arrowsOf(box.rect));
        case QStyle::SC_ComboBoxEditField:
            return mirrored(box, box.rect.adjusted(measures::spacing, 1, -arrowColumn, -1));
        default:
            return box.rect;
    }
}

QRect partOfScrollBar(const QStyleOptionSlider& bar, QStyle::SubControl part) {
    const bool isHorizontal = bar.orientation == Qt::Horizontal;
    const int length = isHorizontal ? bar.rect.width() : bar.rect.height();
    const int thumb = thumbOf(bar, length);
    const int start =
        QStyle::sliderPositionFromValue(bar.minimum, bar.maximum, bar.sliderPosition, length - thumb, bar.upsideDown);
    const auto along = [&](int from, int size) {
        const QRect area =
            isHorizontal ? QRect(from, 0, size, bar.rect.height()) : QRect(0, from, bar.rect.width(), size);
        return mirrored(bar, area.translated(bar.rect.topLeft()));
    };
    switch (part) {
        case QStyle::SC_ScrollBarAddLine:
        case QStyle::SC_ScrollBarSubLine:
            return {};
        case QStyle::SC_ScrollBarSlider:
            return along(start, thumb);
        case QStyle::SC_ScrollBarSubPage:
            return along(0, start);
        case QStyle::SC_ScrollBarAddPage:
            return along(start + thumb, length - start - thumb);
        default:
            return along(0, length);
    }
}

}  // namespace tovri
