#pragma once

#include <QMenu>
#include <QSystemTrayIcon>

#include "base/Subscription.h"
#include "downloads/DownloadManager.h"

namespace tovri {

// Stands for the program on the desktop's panel, also while it has no window.
class TrayIcon final : public QObject {
    Q_OBJECT

public:
    // `downloads` outlives the icon.
    explicit TrayIcon(DownloadManager& downloads);

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
    QMenu menu_;
    QSystemTrayIcon icon_;
    Subscription following_;
};

}  // namespace tovri
