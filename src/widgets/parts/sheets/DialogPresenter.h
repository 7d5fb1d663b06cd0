#pragma once

#include <QObject>
#include <QPointer>
#include <string>

#include "base/Signal.h"
#include "base/UUID.h"

class QWidget;

namespace tovri {

class ActionDialogs;
class Sheet;

// Shows a screen's two dialogs as sheets of the view's window while the view is on screen. Owned by the view.
class DialogPresenter final : public QObject {
    Q_OBJECT

public:
    // Both outlive the presenter.
    DialogPresenter(ActionDialogs& dialogs, QWidget& view);
    ~DialogPresenter() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void follow();
    void present(bool isOnView);
    void presentConfirmation();
    void presentAlert();

    ActionDialogs& dialogs_;
    QWidget& view_;
    QPointer<Sheet> confirmation_;
    UUID confirmed_;  // the action that the confirmation asks for
    QPointer<Sheet> alert_;
    std::string alertMessage_;
    Subscription following_;
};

}  // namespace tovri
