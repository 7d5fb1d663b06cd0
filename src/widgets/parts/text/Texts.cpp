#include "widgets/parts/text/Texts.h"

#include <QApplication>
#include <QLabel>

#include "widgets/theme/Colors.h"

namespace tovri {

void setTint(QLabel& label, Tint tint) {
    const QColor ink = color(tint, QApplication::palette());
    if (label.palette().color(QPalette::WindowText) == ink) return;
    QPalette palette;  // of these two alone, so that the label still hears of changes to the others
    palette.setColor(QPalette::WindowText, ink);
    palette.setColor(QPalette::Text, ink);  // what a label on a base area takes
    label.setPalette(palette);
}

}  // namespace tovri
