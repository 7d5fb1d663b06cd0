#include "widgets/window/TrayIcon.h"

#include "screens/window/TrayMenu.h"
#include "widgets/parts/Menus.h"
#include "widgets/theme/ForeignText.h"
#include "widgets/theme/Symbols.h"

namespace tovri {
namespace {

constexpr std::chrono::milliseconds textPause{500};

}  // namespace

TrayIcon::TrayIcon(DownloadManager& downloads, SpeedControl& speed)
    : downloads_(downloads),
      speed_(speed),
      icon_(
          QIcon::fromTheme(QStringLiteral("tovri"), applicationIcon())),  // installed, it is drawn for small sizes too
      following_(downloads.onChange([this](const QueueChange&) {
          if (!pause_.isActive()) pause_.start();
      })) {
    pause_.setSingleShot(true);
    pause_.setInterval(textPause);
    connect(&pause_, &QTimer::timeout, this, &TrayIcon::updateText);
    connect(&menu_, &QMenu::aboutToShow, this, &TrayIcon::fillMenu);
    connect(&icon_, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger || reason == QSystemTrayIcon::DoubleClick) emit showWanted();
    });
    fillMenu();
    updateText();
    icon_.setContextMenu(&menu_);
    icon_.show();
}

void TrayIcon::fillMenu() {
    menu_.clear();
    addItems<TrayAction>(menu_, trayMenu(downloads_, speed_), [this](TrayAction action) {
        switch (action) {
            case TrayAction::show:
                return emit showWanted();
            case TrayAction::pauseAll:
                return downloads_.pauseAll();
            case TrayAction::resumeAll:
                return downloads_.resumeAll();
            case TrayAction::limitSpeed:
                return speed_.setOn(!speed_.state().isOn);
            case TrayAction::quit:
                return emit quitWanted();
        }
    });
}

void TrayIcon::updateText() {
    const QString text = textOf(trayText(downloads_));
    if (icon_.toolTip() != text) icon_.setToolTip(plainToolTip(text));
}

}  // namespace tovri
