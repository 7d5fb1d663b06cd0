#include "widgets/theme/Colors.h"

#include <QPalette>
#include <algorithm>
#include <cmath>

namespace tovri {
namespace {

constexpr double readable = 4.5;  // the least contrast of text

// WCAG 2.1, "relative luminance".
double luminance(const QColor& color) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

// The text colour, as pale as it is given, but readable on every second row too.
QColor paleText(const QPalette& palette, double share) {
    const QColor base = palette.color(QPalette::Base);
    const QColor text = palette.color(QPalette::Text);
    const QColor alternate = palette.color(QPalette::AlternateBase);
    QColor pale = mixed(text, base, share);
    while (share < 1 && std::min(contrast(pale, base), contrast(pale, alternate)) < readable)
        pale = mixed(text, base, share += 0.02);
    return pale;
}

}  // namespace

QColor color(Tint tint, const QPalette& palette) {
    const bool dark = isDark(palette);
    switch (tint) {
        case Tint::primary:
            return palette.color(QPalette::Text);
        case Tint::secondary:
            return paleText(palette, 0.62);
        case Tint::tertiary:
            return mixed(palette.color(QPalette::Text), palette.color(QPalette::Base), 0.38);
        case Tint::accent:
            return palette.color(QPalette::Highlight);
        case Tint::success:
            return dark ? QColor(0x57, 0xC2, 0x6E) : QColor(0x1E, 0x7E, 0x34);
        case Tint::attention:
            return dark ? QColor(0xF2, 0xA3, 0x3A) : QColor(0xB2, 0x5E, 0x00);
        case Tint::failure:
            return dark ? QColor(0xFF, 0x6B, 0x66) : QColor(0xC0, 0x26, 0x2D);
    }
    return palette.color(QPalette::Text);
}

QColor brandColor(const QPalette& palette) {
    return isDark(palette) ? QColor(0x3F, 0xBF, 0xB5) : QColor(0x1B, 0x7F, 0x79);
}

QColor colorOn(const QColor& background) {
    const QColor light(Qt::white);
    const QColor dark(0x1A, 0x1C, 0x1E);
    return contrast(light, background) >= 3.5 ? light : dark;
}

QColor lineColor(const QPalette& palette) {
    return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.14);
}

QColor frameColor(const QPalette& palette) {
    return mixed(palette.color(QPalette::WindowText), palette.color(QPalette::Window), 0.28);
}

QColor hoverColor(const QPalette& palette) {
    QColor over = palette.color(QPalette::Text);
    over.setAlphaF(0.04F);
    return over;
}

bool isDark(const QPalette& palette) {
    return luminance(palette.color(QPalette::Base)) < luminance(palette.color(QPalette::Text));
}

QColor mixed(const QColor& over, const QColor& under, double share) {
    const auto part = [&](int top, int bottom) {
        return static_cast<int>(std::lround(bottom + (top - bottom) * share));
    };
    return {part(over.red(), under.red()), part(over.green(), under.green()), part(over.blue(), under.blue())};
}

double contrast(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({luminance(one), luminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

}  // namespace tovri
