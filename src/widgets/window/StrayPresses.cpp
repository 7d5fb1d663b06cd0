#include "widgets/window/StrayPresses.h"

#include <QAbstractButton>
#include <QApplication>

namespace tovri {

StrayPresses::StrayPresses() {
    qApp->installEventFilter(this);
}

// What a widget has no use for comes again for its parent; a button takes every press.
bool StrayPresses::eventFilter(QObject* watched, QEvent* event) {
    const bool isPress = event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick;
    if (!isPress || !watched->isWidgetType()) return QObject::eventFilter(watched, event);
    const bool isAstray = presses_.isAstray(static_cast<const QMouseEvent&>(*event), watched);
    return isAstray && qobject_cast<QAbstractButton*>(watched) != nullptr;
}

}  // namespace tovri
