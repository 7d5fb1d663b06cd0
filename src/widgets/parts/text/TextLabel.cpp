#include "widgets/parts/text/TextLabel.h"

#include <QEvent>

namespace tovri {

TextLabel::TextLabel(const QString& text, QWidget* parent) : QLabel(text, parent) {
    setTextFormat(Qt::PlainText);
    align();
}

void TextLabel::align() {
    setAlignment((isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute | Qt::AlignVCenter);
}

void TextLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::LayoutDirectionChange) align();
}

}  // namespace tovri
