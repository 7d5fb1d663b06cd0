#pragma once

#include <QFrame>

#include "screens/window/ContentScreen.h"

class QListWidget;

namespace tovri {

class UploadStatus;

// The sections of the window, and below them how far the uploads have come.
class Sidebar final : public QFrame {
    Q_OBJECT

public:
    // `screen` outlives the sidebar.
    explicit Sidebar(ContentScreen& screen, QWidget* parent = nullptr);

private:
    void follow(ContentScreen::Change change);
    void showSelection();
    void takeSelection();
    void showBadges();

    ContentScreen& screen_;
    QListWidget* list_;
    UploadStatus* uploads_;
    Subscription following_;
};

}  // namespace tovri
