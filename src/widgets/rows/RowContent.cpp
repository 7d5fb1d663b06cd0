#include "widgets/rows/RowContent.h"

namespace tovri {

QString RowContent::captionText() const {
    QString text;
    for (const CaptionSegment& segment : caption) {
        if (!text.isEmpty()) text += separator;
        text += segment.text;
    }
    return text;
}

}  // namespace tovri
