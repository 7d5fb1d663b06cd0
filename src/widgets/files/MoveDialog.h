#pragma once

#include "screens/files/MoveSheet.h"
#include "widgets/parts/sheets/Sheet.h"

namespace tovri {

// Asks where files are to be moved to. Its owner shows it while the screen's sheet is open.
class MoveDialog final : public Sheet {
    Q_OBJECT

public:
    // `screen` outlives the dialog.
    MoveDialog(MoveSheet& screen, QWidget* parent);

private:
    void update();

    MoveSheet& screen_;
    QPushButton* confirm_;
    Subscription following_;
};

}  // namespace tovri
