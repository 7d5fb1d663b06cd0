#pragma once

#include <QFont>

namespace tovri {

// All derive from `base`, the font of the widget that they are for.
[[nodiscard]] QFont captionFont(const QFont& base);
[[nodiscard]] QFont calloutFont(const QFont& base);  // between a caption and the text itself
[[nodiscard]] QFont titleFont(QFont base);           // of rows
[[nodiscard]] QFont semiboldFont(QFont base);        // what is emphasised
[[nodiscard]] QFont sectionHeaderFont(const QFont& base);
[[nodiscard]] QFont placeholderTitleFont(const QFont& base);
[[nodiscard]] QFont signInNameFont(QFont base);

// Digits of one width, for numbers that change. Where Qt cannot ask a font for them (before 6.7) they are as the font
// has them, which is of one width in the fonts that desktops come with.
[[nodiscard]] QFont tabularFont(QFont base);

}  // namespace tovri
