#include "widgets/theme/Fonts.h"

#include <QFontInfo>

namespace tovri {
namespace {

QFont scaled(QFont base, double factor) {
    base.setPointSizeF(QFontInfo(base).pointSizeF() * factor);
    return base;
}

}  // namespace

QFont captionFont(const QFont& base) {
    return scaled(base, 0.85);
}

QFont calloutFont(const QFont& base) {
    return scaled(base, 0.92);
}

QFont titleFont(QFont base) {
    base.setWeight(QFont::Medium);
    return base;
}

QFont semiboldFont(QFont base) {
    base.setWeight(QFont::DemiBold);
    return base;
}

QFont sectionHeaderFont(const QFont& base) {
    return semiboldFont(captionFont(base));
}

QFont placeholderTitleFont(const QFont& base) {
    return semiboldFont(scaled(base, 1.4));
}

QFont signInNameFont(QFont base) {
    base.setPointSizeF(36);
    base.setBold(true);
    return base;
}

QFont tabularFont(QFont base) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
    base.setFeature("tnum", 1);
#endif
    return base;
}

}  // namespace tovri
