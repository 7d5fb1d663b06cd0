#pragma once

#include <QString>

class QWidget;

namespace tovri {

class Theme;

namespace screenshots {

// Draws a window, with the sheets and menus that stand over it, into NAME-light.png and NAME-dark.png.
class Camera {
public:
    // `theme` outlives the camera.
    Camera(Theme& theme, QString folder) : theme_(theme), folder_(std::move(folder)) {}

    void take(QWidget& window, const QString& name);

private:
    Theme& theme_;
    QString folder_;
};

}  // namespace screenshots
}  // namespace tovri
