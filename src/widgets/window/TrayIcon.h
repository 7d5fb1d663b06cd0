#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

#include "base/Subscription.h"
#include "downloads/DownloadManager.h"
#include "limits/SpeedControl.h"

namespace tovri {

// Stands for the program on the desktop's panel, also while it has no window.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    // Both outlive the icon.
    TrayIcon(DownloadManager& downloads, SpeedControl& speed);

    // Whether the desktop has a place for it now.
    [[nodiscard]] static bool isAvailable() { return QSystemTrayIcon::isSystemTrayAvailable(); }

    [[nodiscard]] QMenu& menu() { return menu_; }

    void hide() { icon_.hide(); }

signals:
    void showWanted();
    void quitWanted();

private:
    void fillMenu();
    void updateText();

    DownloadManager& downloads_;
    SpeedControl& speed_;
    QMenu menu_;
    QSystemTrayIcon icon_;
    QTimer pause_;  // between two texts
    Subscription following_;
};

}  // namespace tovri
