#include "widgets/theme/ForeignText.h"

#include <QLabel>
#include <QMessageBox>
#include <QTimer>
#include <QToolTip>

namespace tovri {

// A tooltip has no setting for it, so that what would be taken for markup becomes markup that shows the same text.
QString plainToolTip(const QString& text) {
    if (!Qt::mightBeRichText(text)) return text;
    return QStringLiteral("<p style=\"white-space:pre-wrap\">%1</p>").arg(text.toHtmlEscaped());
}

void setPlainToolTip(QWidget& widget, const QString& text) {
    widget.setToolTip(plainToolTip(text));
}

void showPlainToolTip(const QPoint& globalPosition, const QString& text, QWidget* widget, const QRect& area) {
    QToolTip::showText(globalPosition, plainToolTip(text), widget, area);
}

QLabel* makeLabel(const QString& text) {
    auto* label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setText(text);
    return label;
}

void warnInBox(const QString& text, int patience) {
    QMessageBox box;
    box.setIcon(QMessageBox::Warning);
    box.setWindowTitle(QStringLiteral("Tovri"));
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    if (patience > 0) QTimer::singleShot(patience, &box, &QMessageBox::accept);
    box.exec();
}

}  // namespace tovri
