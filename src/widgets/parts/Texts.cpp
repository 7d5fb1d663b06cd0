#include "widgets/parts/Texts.h"

#include <QApplication>
#include <QLabel>

#include "widgets/theme/Colors.h"

namespace tovri {

void setTint(QLabel& label, Tint tint) {
    QPalette palette = QApplication::palette();
    const QColor ink = color(tint, palette);
    if (label.palette().color(QPalette::WindowText) == ink) return;
    palette.setColor(QPalette::WindowText, ink);
    palette.setColor(QPalette::Text, ink);  // what a label on a base area takes
    label.setPalette(palette);
}

}  // namespace tovri
