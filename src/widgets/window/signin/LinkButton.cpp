#include "widgets/window/signin/LinkButton.h"

#include <QPainter>

#include "widgets/theme/Colors.h"
#include "widgets/theme/Measures.h"

namespace tovri {

LinkButton::LinkButton(const QString& title, QWidget* parent) : QToolButton(parent) {
    setText(title);
    setFocusPolicy(Qt::StrongFocus);
}

QSize LinkButton::sizeHint() const {
    return {fontMetrics().horizontalAdvance(text()), measures::inlineButton};
}

// There is no room for a ring beside the text: a thick line below it shows the keyboard's focus.
void LinkButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QFont shown = font();
    shown.setUnderline(underMouse() || isDown());
    painter.setFont(shown);
    painter.setPen(palette().color(QPalette::Link));
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
    if (hasFocus() && window()->testAttribute(Qt::WA_KeyboardFocusChange))
        painter.fillRect(QRect(0, rect().bottom() - 1, width(), 2), color(Tint::accent, palette()));
}

}  // namespace tovri
