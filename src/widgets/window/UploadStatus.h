#pragma once

#include "screens/window/ContentScreen.h"
#include "widgets/window/sidebar/SidebarPanel.h"

class QProgressBar;

namespace tovri {

// How far the uploads have come; hidden while there are none.
class UploadStatus final : public SidebarPanel {
    Q_OBJECT

public:
    explicit UploadStatus(QWidget* parent = nullptr);

    void show(const std::optional<UploadPanel>& panel);

protected:
    void dress() override;

private:
    QLabel* symbol_;
    QLabel* text_;
    QLabel* count_;
    QProgressBar* bar_;
};

}  // namespace tovri
