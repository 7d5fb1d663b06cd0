#include "widgets/parts/sheets/BoundDialog.h"

#include <QApplication>
#include <QEvent>
#include <QTimer>

#include "widgets/theme/Measures.h"

namespace tovri {

BoundDialog::BoundDialog(const QString& title, QWidget* parent)
    : QDialog(parent, Qt::Sheet | Qt::WindowTitleHint | Qt::CustomizeWindowHint) {
    setWindowModality(Qt::WindowModal);
    setWindowTitle(title);
    parent->window()->installEventFilter(this);
}

// The buttons stay in reach, whatever the texts are.
void BoundDialog::bind() {
    const QSize room = parentWidget()->window()->size() - QSize(2 * measures::spacing, 2 * measures::spacing);
    setMaximumSize(room.expandedTo(minimumSizeHint()));
}

void BoundDialog::showEvent(QShowEvent* event) {
    bind();
    resize(sizeHint().boundedTo(maximumSize()).expandedTo(minimumSize()));
    QDialog::showEvent(event);
    QTimer::singleShot(QApplication::doubleClickInterval(), this, &BoundDialog::takeKeyboard);
}

// A window manager that sees the second press of a double click leaves the keyboard with the window below, which has no
// use for it while the dialog is there.
void BoundDialog::takeKeyboard() {
    if (isVisible() && parentWidget()->isActiveWindow()) activateWindow();
}

bool BoundDialog::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize && watched == parentWidget()->window() && isVisible()) bind();
    return QDialog::eventFilter(watched, event);
}

}  // namespace tovri
