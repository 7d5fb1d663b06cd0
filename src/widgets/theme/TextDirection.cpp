#include "widgets/theme/TextDirection.h"

#include <QStyle>

namespace tovri {
namespace {

constexpr int forced = Qt::TextForceLeftToRight | Qt::TextForceRightToLeft;

}  // namespace

int textFlags(const QString& text, int flags, Qt::LayoutDirection layout) {
    if ((flags & forced) != 0) return flags;
    const Qt::Alignment place = QStyle::visualAlignment(layout, Qt::Alignment(flags & Qt::AlignHorizontal_Mask));
    const int direction = text.isRightToLeft() ? Qt::TextForceRightToLeft : Qt::TextForceLeftToRight;
    return (flags & ~static_cast<int>(Qt::AlignHorizontal_Mask)) | static_cast<int>(place) | direction;
}

}  // namespace tovri
