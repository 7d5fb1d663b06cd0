#include "widgets/parts/bars/FootLine.h"

#include <QApplication>
#include <QEvent>

#include "widgets/parts/text/Texts.h"
#include "widgets/theme/Fonts.h"
#include "widgets/theme/Measures.h"

namespace tovri {

FootLine::FootLine(QWidget* parent) : TextLabel({}, parent) {
    setContentsMargins(measures::margin, measures::gap, measures::margin, measures::gap);
    dress();
    hide();
}

void FootLine::show(const QString& text) {
    setText(text);
    setVisible(!text.isEmpty());
}

void FootLine::dress() {
    setFont(tabularFont(captionFont(QApplication::font())));
    setTint(*this, Tint::secondary);
}

void FootLine::changeEvent(QEvent* event) {
    TextLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) dress();
}

}  // namespace tovri
