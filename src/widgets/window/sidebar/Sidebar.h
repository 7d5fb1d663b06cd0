#pragma once

#include <QFrame>

#include "screens/window/ContentScreen.h"
#include "screens/window/SidebarFoot.h"

class QListWidget;

namespace tovri {

class AccountFoot;
class UploadStatus;

// The sections of the window, below them how far the uploads have come, and at the foot whose account it is.
class Sidebar final : public QFrame {
    Q_OBJECT

public:
    // The screens outlive the sidebar.
    Sidebar(ContentScreen& screen, SidebarFoot& foot, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void follow(ContentScreen::Change change);
    void showSelection();
    void takeSelection();
    void showBadges();

    ContentScreen& screen_;
    SidebarFoot& foot_;
    QListWidget* list_;
    UploadStatus* uploads_;
    AccountFoot* account_;
    Subscription following_;
    Subscription followingFoot_;
};

}  // namespace tovri
