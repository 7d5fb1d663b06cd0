#pragma once

#include <vector>

#include "screens/window/SidebarFoot.h"
#include "widgets/window/sidebar/SidebarPanel.h"

namespace tovri {

class ElidedLabel;

// The account, the space on put.io and the room on the disk, one line each; hidden while nothing is known of them.
class AccountFoot final : public SidebarPanel {
    Q_OBJECT

public:
    explicit AccountFoot(QWidget* parent = nullptr);

    void show(const std::vector<SidebarFoot::Line>& lines);

protected:
    void dress() override;

private:
    struct Row {
        QWidget* whole;
        QLabel* symbol;
        ElidedLabel* text;
    };

    Row addRow();

    std::vector<SidebarFoot::Line> shown_;
    std::vector<Row> rows_;  // at least as many as there are lines
};

}  // namespace tovri
