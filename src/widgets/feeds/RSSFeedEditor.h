#pragma once

#include "base/Signal.h"
#include "screens/feeds/RSSFeedEditorSheet.h"
#include "widgets/parts/sheets/Sheet.h"

class QCheckBox;
class QLineEdit;

namespace tovri {

// The sheet that makes or edits a feed. Its owner shows it while the screen's editor is open.
class RSSFeedEditor final : public Sheet {
    Q_OBJECT

public:
    // `screen` outlives the editor.
    RSSFeedEditor(RSSFeedEditorSheet& screen, QWidget* parent);

private:
    void arrange();
    void connectParts();
    void update();
    void takeFields();

    RSSFeedEditorSheet& screen_;
    QLineEdit* title_;
    QLineEdit* url_;
    QLineEdit* keyword_;
    QCheckBox* skipsExisting_;
    QCheckBox* deletesOld_;
    ErrorLine* error_;
    QPushButton* confirm_ = nullptr;
    Subscription following_;
};

}  // namespace tovri
