#pragma once

#include "widgets/parts/sheets/Sheet.h"

class QMenuBar;

namespace tovri {

// All shortcuts of the window, read from the actions that have them: it cannot differ from what they do.
class KeyboardHelp final : public Sheet {
    Q_OBJECT

public:
    KeyboardHelp(const QMenuBar& menus, QWidget* parent);
};

}  // namespace tovri
