#pragma once

#include <QWidget>

#include "screens/settings/SettingsScreen.h"

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace tovri {

class ElidedLabel;
class StepperBox;
class Switch;
class TransferSettingsPage;

// The settings: four tabs, each change in effect at once.
class SettingsWindow final : public QWidget {
    Q_OBJECT

public:
    // `screen` outlives the window.
    explicit SettingsWindow(SettingsScreen& screen);

    void bringForward();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QWidget* makeGeneral();
    QWidget* makeFolderChoice();
    QWidget* makeAccount();
    QWidget* makeClientID();
    QWidget* makeDesktop();
    void chooseFolder();
    void update();
    void updateAccount();

    SettingsScreen& screen_;
    ElidedLabel* folder_ = nullptr;
    Switch* deletes_ = nullptr;
    StepperBox* concurrency_ = nullptr;
    QComboBox* conflict_ = nullptr;
    QLabel* explanation_ = nullptr;
    StepperBox* interval_ = nullptr;
    Switch* readsLongFolders_ = nullptr;
    TransferSettingsPage* transfers_ = nullptr;
    QWidget* shownClientID_ = nullptr;
    QWidget* editedClientID_ = nullptr;
    QLabel* clientIDText_ = nullptr;
    QLineEdit* clientIDField_ = nullptr;
    QLabel* status_ = nullptr;
    ElidedLabel* account_ = nullptr;
    QPushButton* signOut_ = nullptr;
    Switch* keepsAwake_ = nullptr;
    Switch* notifies_ = nullptr;
    Switch* runsOn_ = nullptr;
    Subscription following_;
};

}  // namespace tovri
