#pragma once

#include "base/Signal.h"
#include "screens/transfers/AddTransferSheet.h"
#include "widgets/parts/sheets/Sheet.h"

class QCheckBox;
class QLineEdit;

namespace tovri {

// The sheet that adds a transfer. Its owner shows it while the screen's sheet is open.
class AddTransferDialog final : public Sheet {
    Q_OBJECT

public:
    // `screen` outlives the dialog.
    AddTransferDialog(AddTransferSheet& screen, QWidget* parent);

private:
    void update();

    AddTransferSheet& screen_;
    QLineEdit* url_;
    ErrorLine* error_;
    QCheckBox* extract_;
    QPushButton* add_;
    Subscription following_;
};

}  // namespace tovri
