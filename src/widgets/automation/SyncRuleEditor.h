#pragma once

#include "base/Signal.h"
#include "screens/automation/SyncRuleEditorSheet.h"
#include "widgets/parts/sheets/Sheet.h"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace tovri {

class FolderBrowser;
class StepperBox;

// The sheet that makes or edits a rule. Its owner shows it while the screen's editor is open.
class SyncRuleEditor final : public Sheet {
    Q_OBJECT

public:
    // `screen` outlives the editor; `parent` is not null, and the editor is no higher if its content allows.
    SyncRuleEditor(SyncRuleEditorSheet& screen, QWidget* parent);

private:
    void arrange();
    void fitInto(const QWidget& window);
    void connectParts();
    void update();
    void chooseLocalFolder();

    SyncRuleEditorSheet& screen_;
    FolderBrowser* remoteFolder_;
    QLineEdit* localFolder_;
    QPushButton* choose_;
    QCheckBox* deletes_;
    StepperBox* interval_;
    QLabel* notice_;
    QPushButton* confirm_ = nullptr;
    Subscription following_;
};

}  // namespace tovri
