#pragma once

#include <QString>

class QLabel;
class QPoint;
class QRect;
class QWidget;

// Names and messages from outside are data. Qt guesses whether a text is markup, which can name files to read; what
// goes through here is shown as it stands. tools/check-foreign-text refuses the calls that guess.
namespace tovri {

// The text for a tooltip that Qt shows by itself.
[[nodiscard]] QString plainToolTip(const QString& text);

void setPlainToolTip(QWidget& widget, const QString& text);

// At once, for as long as the pointer is in the area of the widget; an empty text takes the one away that is shown.
void showPlainToolTip(const QPoint& globalPosition, const QString& text, QWidget* widget, const QRect& area);

[[nodiscard]] QLabel* makeLabel(const QString& text = {});

// Tells something before there is a window, or after it. Returns when the user has read it, or `patience` is over,
// where that is not zero (milliseconds).
void warnInBox(const QString& text, int patience = 0);

}  // namespace tovri
