#include "Camera.h"

#include <QApplication>
#include <QPainter>
#include <QTest>
#include <stdexcept>
#include <vector>

#include "widgets/theme/Palettes.h"
#include "widgets/theme/Theme.h"

namespace tovri::screenshots {
namespace {

constexpr int shadowReach = 12;

// What stands over the window, in the order in which it came.
std::vector<QWidget*> overlaysOf(const QWidget& window) {
    std::vector<QWidget*> overlays;
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        const bool isPopup = widget->windowType() == Qt::Popup;
        const bool isSheet = widget->parentWidget() != nullptr && widget->parentWidget()->window() == &window;
        if (widget != &window && widget->isVisible() && (isPopup || isSheet)) overlays.push_back(widget);
    }
    return overlays;
}

// A window manager would draw one: it tells the sheet from what lies below.
void paintShadow(QPainter& painter, const QRect& rect) {
    painter.setPen(Qt::NoPen);
    painter.setRenderHint(QPainter::Antialiasing);
    for (int reach = shadowReach; reach > 0; reach -= 2) {
        painter.setBrush(QColor(0, 0, 0, 10));
        painter.drawRoundedRect(rect.adjusted(-reach, 2 - reach, reach, reach + 2), reach, reach);
    }
}

QPixmap pictureOf(QWidget& window) {
    const std::vector<QWidget*> overlays = overlaysOf(window);
    QRect whole(QPoint(), window.size());
    for (const QWidget* overlay : overlays)
        whole |= overlay->geometry().translated(-window.pos()).marginsAdded(QMargins() + shadowReach);

    const double scale = window.devicePixelRatio();
    QPixmap picture(whole.size() * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.translate(-whole.topLeft());
    painter.drawPixmap(0, 0, window.grab());
    for (QWidget* overlay : overlays) {
        const QPoint place = overlay->pos() - window.pos();
        if (overlay->windowType() != Qt::Popup) painter.fillRect(window.rect(), QColor(0, 0, 0, 50));
        paintShadow(painter, QRect(place, overlay->size()));
        painter.drawPixmap(place, overlay->grab());
    }
    return picture;
}

}  // namespace

void Camera::take(QWidget& window, const QString& name) {
    for (const bool isDark : {true, false}) {
        theme_.usePalette(isDark ? darkPalette() : lightPalette());
        QTest::qWait(200);  // longer than a row fades
        const QString path = QStringLiteral("%1/%2-%3.png").arg(folder_, name, isDark ? "dark" : "light");
        if (!pictureOf(window).save(path)) throw std::runtime_error("cannot write " + path.toStdString());
    }
}

}  // namespace tovri::screenshots
